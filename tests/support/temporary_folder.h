#pragma once

// A folder of files that lives as long as the object.

#include <unistd.h>

#include <boost/iostreams/device/file.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/filtering_stream.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

// The bytes of a file; empty when there is none.
inline std::string file_text(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}
// The text of a file written through gzip.
inline std::string compressed_file_text(const std::string& name) {
    boost::iostreams::filtering_istream stream;
    stream.push(boost::iostreams::gzip_decompressor());
    stream.push(boost::iostreams::file_source(name, std::ios::binary));
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class temporary_folder {
  public:
    temporary_folder() {
        static int counter = 0;
        path_ = (std::filesystem::temp_directory_path() /
                 ("orvide_test." + std::to_string(getpid()) + "." + std::to_string(counter++)))
                    .string();
        std::filesystem::create_directories(path_);
    }
    ~temporary_folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    // The full name of a file in the folder.
    std::string name(const std::string& file) const { return path_ + "/" + file; }
    // Writes a file as it is; its full name.
    std::string write(const std::string& file, const std::string& text) const {
        std::ofstream stream(name(file), std::ios::binary);
        stream << text;
        return name(file);
    }
    // Writes a file through gzip, whatever its name; its full name.
    std::string write_compressed(const std::string& file, const std::string& text) const {
        boost::iostreams::filtering_ostream stream;
        stream.push(boost::iostreams::gzip_compressor());
        stream.push(boost::iostreams::file_sink(name(file), std::ios::binary));
        stream << text;
        return name(file);
    }
    std::string read(const std::string& file) const { return file_text(name(file)); }
    std::string read_compressed(const std::string& file) const { return compressed_file_text(name(file)); }
    bool has(const std::string& file) const { return std::filesystem::exists(name(file)); }

  private:
    std::string path_;
};
