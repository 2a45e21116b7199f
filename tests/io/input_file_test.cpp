#include "io/input_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "io/run_log.h"
#include "support/log_capture.h"
#include "support/variant_files.h"

namespace {

class input_files : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(log); }
    input_file open(const std::string& name) { return {log, name, "missing", "unopened"}; }
    // All bytes that are left.
    static std::string rest_of(input_file& file) {
        std::string text(3, '\0');
        std::string all;
        while (const std::size_t n = file.read(text.data(), text.size())) all += text.substr(0, n);
        return all;
    }
    // A pipe that somebody writes a text to.
    std::string make_pipe(const std::string& text) {
        const std::string name = files().name("pipe");
        EXPECT_EQ(0, mkfifo(name.c_str(), 0600));
        writer = std::thread([name, text] {
            const int to = ::open(name.c_str(), O_WRONLY);
            EXPECT_EQ(static_cast<ssize_t>(text.size()), write(to, text.data(), text.size()));
            close(to);
        });
        return name;
    }
    void TearDown() override {
        if (writer.joinable()) writer.join();
    }
    const temporary_folder& files() const { return capture.files; }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
    std::thread writer;
};

TEST_F(input_files, are_read_to_their_end) {
    input_file file = open(files().write("a", "text of a file"));
    EXPECT_EQ(files().name("a"), file.name());
    EXPECT_TRUE(file.is_regular());
    EXPECT_EQ("text of a file", rest_of(file));
    input_file moved = std::move(file);
    EXPECT_EQ("", rest_of(moved));
}

TEST_F(input_files, that_are_absent_or_directories_end_the_run) {
    expect_end(capture, "missing", 1, [this] { open(files().name("none")); });
    EXPECT_EQ("orvide: note: [" + files().name("none") + "]: No such file or directory.\n", capture.notes.str());
    capture.open(log);
    capture.notes.str("");
    expect_end(capture, "unopened", 1, [this] { open(files().name(".")); });
    EXPECT_EQ("orvide: note: [" + files().name(".") + "]: Is a directory.\n", capture.notes.str());
}

TEST_F(input_files, tell_variants_by_content_and_not_by_name) {
    const std::string text = vcf_text("s", {called_record(100, "0|1")});
    for (const std::string& name :
         {files().write("a", text), write_bgzf(files(), "b", text), files().write_compressed("c", text),
          write_bcf(files(), "d.gen", text), write_bcf(files(), "e.gen", text, "wbu")}) {
        EXPECT_TRUE(open(name).holds_variants()) << name;
        EXPECT_TRUE(is_variant_file(name)) << name;
    }
    for (const std::string& name : {files().write("a.vcf", "s r 100 A C 1 0 0\n"),
                                    files().write_compressed("b.vcf.gz", "0 1\n"), files().write("c.bcf", "")}) {
        EXPECT_FALSE(open(name).holds_variants()) << name;
        EXPECT_FALSE(is_variant_file(name)) << name;
    }
    EXPECT_FALSE(is_variant_file(files().name("none")));
    EXPECT_FALSE(is_variant_file(files().name(".")));
}

TEST_F(input_files, lose_nothing_when_they_are_looked_at) {
    const std::string text = vcf_text("s", {called_record(100, "0|1")});
    input_file file = open(make_pipe(text));
    EXPECT_FALSE(file.is_regular());
    EXPECT_TRUE(file.holds_variants());
    EXPECT_EQ(text, rest_of(file));
}

TEST_F(input_files, tell_pipes_without_opening_them) {
    const std::string name = files().name("pipe");
    ASSERT_EQ(0, mkfifo(name.c_str(), 0600));
    EXPECT_TRUE(is_pipe(name));
    EXPECT_TRUE(is_pipe("-"));
    EXPECT_FALSE(is_variant_file(name));
    EXPECT_FALSE(is_pipe(files().write("a", "")));
    EXPECT_FALSE(is_pipe(files().name(".")));
    EXPECT_FALSE(is_pipe(files().name("none")));
}

}  // namespace
