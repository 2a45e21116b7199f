#include "io/text.h"

#include <array>
#include <boost/iostreams/device/file.hpp>
#include <boost/iostreams/filter/gzip.hpp>
#include <boost/iostreams/filtering_stream.hpp>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <sstream>
#include <utility>

std::string flip(std::string allele) {
    if (allele == "A") return "T";
    if (allele == "T") return "A";
    if (allele == "C") return "G";
    if (allele == "G") return "C";
    return allele;
}

std::string allele_comb(const std::string& a, const std::string& b) {
    static const std::array<std::pair<const char*, const char*>, 6> rewrites{
        {{"TA", "AT"}, {"GC", "CG"}, {"CA", "AC"}, {"GA", "AG"}, {"TC", "CT"}, {"TG", "GT"}}};
    std::string joined = a + b;
    for (const auto& [from, to] : rewrites) {
        if (joined == from) joined = to;
    }
    return joined;
}

bool is_gzipped(std::string_view name) {
    return name.size() >= 4 && name.substr(name.size() - 3) == ".gz";
}

int countLines(const std::string& name, bool gzipped) {
    boost::iostreams::filtering_istream stream;
    if (gzipped) stream.push(boost::iostreams::gzip_decompressor());
    stream.push(boost::iostreams::file_source(name));
    int n_lines = 0;
    std::array<char, 65536> buffer{};
    while (stream.read(buffer.data(), buffer.size()) || stream.gcount() > 0) {
        for (std::streamsize i = 0; i < stream.gcount(); ++i) {
            if (buffer[static_cast<std::size_t>(i)] == '\n') ++n_lines;
        }
    }
    return n_lines;
}

void strsplit(const std::string& text, char delimiter, std::vector<std::string>& pieces) {
    pieces.clear();
    std::istringstream stream(text);
    std::string piece;
    while (std::getline(stream, piece, delimiter)) pieces.push_back(piece);
}

void strsplit(const std::string& text, const std::string& delimiter, std::vector<std::string>& pieces,
              bool keep_empty) {
    pieces.clear();
    if (delimiter.empty()) {
        pieces.push_back(text);
        return;
    }
    std::size_t start = 0;
    while (true) {
        const std::size_t end = text.find(delimiter, start);
        const std::string piece = text.substr(start, end == std::string::npos ? end : end - start);
        if (keep_empty || !piece.empty()) pieces.push_back(piece);
        if (end == std::string::npos) return;
        start = end + delimiter.size();
    }
}

double string_to_double(const std::string& text) {
    std::istringstream stream(text);
    double value = 0.0;
    if (!(stream >> value)) std::cerr << "\nERROR: Bad conversion from string to double.\n\n";
    return value;
}

int timeval_print(const timeval* value) {
    return std::fprintf(stderr, "%ld.%06ld", static_cast<long>(value->tv_sec), static_cast<long>(value->tv_usec));
}

namespace {

std::string_view without_sign_and_return(std::string_view field) {
    if (!field.empty() && field.back() == '\r') field.remove_suffix(1);
    if (field.size() > 1 && field.front() == '+' && field[1] != '-') field.remove_prefix(1);
    return field;
}

}  // namespace

bool field_scanner::next(std::string_view& field) {
    const char* p = rest_.data();
    const char* end = p + rest_.size();
    while (p != end && is_separator(*p)) ++p;
    const char* start = p;
    while (p != end && !is_separator(*p)) ++p;
    field = std::string_view(start, static_cast<std::size_t>(p - start));
    rest_ = std::string_view(p, static_cast<std::size_t>(end - p));
    return !field.empty();
}

bool field_scanner::skip(int n) {
    std::string_view field;
    for (int i = 0; i < n; ++i) {
        if (!next(field)) return false;
    }
    return true;
}

int count_fields(std::string_view text) {
    field_scanner scanner(text);
    std::string_view field;
    int n = 0;
    while (scanner.next(field)) ++n;
    return n;
}

std::vector<std::string> split_fields(std::string_view text) {
    field_scanner scanner(text);
    std::string_view field;
    std::vector<std::string> fields;
    while (scanner.next(field)) fields.emplace_back(field);
    return fields;
}

bool parse_long(std::string_view field, long& value) {
    field = without_sign_and_return(field);
    long parsed = 0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), parsed);
    if (error != std::errc() || end != field.data() + field.size()) return false;
    value = parsed;
    return true;
}

bool parse_leading_double(std::string_view field, double& value) {
    field = without_sign_and_return(field);
    double parsed = 0.0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), parsed);
    if (error == std::errc::result_out_of_range) {  // as strtod: an underflow is 0, an overflow is refused
        const std::string_view number(field.data(), static_cast<std::size_t>(end - field.data()));
        const std::size_t exponent = number.find_first_of("eE");
        const bool below_one = number.find_first_of("123456789") > number.find('.');  // in plain digits
        if (exponent == std::string_view::npos ? !below_one : number.substr(exponent + 1, 1) != "-") return false;
        value = 0.0;
        return true;
    }
    if (error != std::errc() || !std::isfinite(parsed)) return false;
    value = parsed;
    return true;
}

bool parse_double(std::string_view field, double& value) {
    field = without_sign_and_return(field);
    double parsed = 0.0;
    if (!parse_leading_double(field, parsed)) return false;
    if (field.find_first_not_of("0123456789+-.eE") != std::string_view::npos) return false;
    double check = 0.0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), check);
    if (end != field.data() + field.size()) return false;
    value = parsed;
    return true;
}

std::string fixed_text(double value, int decimals) {
    std::array<char, 512> buffer{};
    const int n = std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, value);
    return std::string(buffer.data(), static_cast<std::size_t>(n));
}

std::string megabytes(double bytes) {
    return fixed_text(std::ceil(bytes / 1e6), 0) + " MB";
}

std::string default_text(double value) {
    std::array<char, 64> buffer{};
    const int n = std::snprintf(buffer.data(), buffer.size(), "%g", value);
    return std::string(buffer.data(), static_cast<std::size_t>(n));
}

namespace {

// The bytes of the character of UTF-8 at the start of a text; 0 if there is none, or one that controls a terminal.
std::size_t character_length(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    constexpr unsigned first_printable = 0x20, deletes = 0x7f, first_of_two = 0xc2, first_of_three = 0xe0,
                       first_of_four = 0xf0, last_of_four = 0xf4, first_after_controls = 0xa0;
    if (byte(0) < deletes) return byte(0) >= first_printable ? 1 : 0;
    if (byte(0) < first_of_two || byte(0) > last_of_four) return 0;
    const std::size_t n = byte(0) < first_of_three ? 2 : byte(0) < first_of_four ? 3 : 4;
    if (text.size() < n) return 0;
    for (std::size_t i = 1; i < n; ++i) {
        if ((byte(i) & 0xc0U) != 0x80U) return 0;
    }
    return n == 2 && byte(0) == first_of_two && byte(1) < first_after_controls ? 0 : n;
}

std::string shown(std::string_view text, std::size_t longest, bool lines) {
    constexpr const char* digits = "0123456789abcdef";
    std::string result;
    while (!text.empty()) {
        if (result.size() >= longest) return result + "...";
        const std::size_t n = lines && text[0] == '\n' ? 1 : character_length(text);
        if (n > 0) {
            result += text.substr(0, n);
        } else {
            const auto byte = static_cast<unsigned char>(text[0]);
            result += {'\\', 'x', digits[byte >> 4U], digits[byte & 15U]};
        }
        text.remove_prefix(n > 0 ? n : 1);
    }
    return result;
}

}  // namespace

std::string printable(std::string_view text) {
    constexpr std::size_t longest = 200;
    return shown(text, longest, false);
}

std::string printable_lines(std::string_view text) {
    constexpr std::size_t longest = 10000;
    return shown(text, longest, true);
}
