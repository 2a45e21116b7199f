#pragma once

// Text utilities: allele labels, splitting, numbers in text.

#include <sys/time.h>

#include <string>
#include <string_view>
#include <vector>

// The complement of a one-letter upper-case base; any other label as it came.
std::string flip(std::string allele);

// An order-independent key of an unordered pair of one-letter alleles ("TA" becomes "AT"). Longer labels are joined.
std::string allele_comb(const std::string& a, const std::string& b);

// Whether the file name asks for the gzip layer: at least four characters, the last three ".gz".
bool is_gzipped(std::string_view name);

// The number of newline characters in a file, read through gzip if asked; 0 if it cannot be opened.
int countLines(const std::string& name, bool gzipped);

// Splits at each delimiter, empty pieces included; no trailing empty piece, nothing for an empty input.
void strsplit(const std::string& text, char delimiter, std::vector<std::string>& pieces);

// Splits at each occurrence of a delimiter text; empty pieces are kept if keep_empty. An empty delimiter gives one
// piece.
void strsplit(const std::string& text, const std::string& delimiter, std::vector<std::string>& pieces, bool keep_empty);

// The number at the start of a text. Says so on standard error if there is none, and returns 0 then.
double string_to_double(const std::string& text);

// Writes seconds and microseconds on standard error; the number of characters written.
int timeval_print(const timeval* value);

// Between fields.
constexpr bool is_separator(char c) {
    return c == ' ' || c == '\t';
}

// Takes the fields of a line in place, one after the other. Blanks and tabs separate fields.
class field_scanner {
  public:
    explicit field_scanner(std::string_view line) : rest_(line) {}
    // The next field; false, and an empty field, at the end of the line.
    bool next(std::string_view& field);
    // Skips n fields; false if there are fewer.
    bool skip(int n);
    // What has not been taken yet.
    std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
};

// The number of fields in a text.
int count_fields(std::string_view text);
// All fields of a text.
std::vector<std::string> split_fields(std::string_view text);

// The whole field as a number: false, and the value untouched, if it is none. A trailing carriage return is allowed, a
// leading plus too; "inf" and "nan" are no numbers here.
bool parse_long(std::string_view field, long& value);
bool parse_double(std::string_view field, double& value);
// As above, but a number at the start of the field is enough (as sscanf reads it).
bool parse_leading_double(std::string_view field, double& value);

// Text of a number: fixed notation with a number of decimals, or the default notation of a C++ stream (6 digits).
std::string fixed_text(double value, int decimals);
std::string default_text(double value);
// An amount of memory or disk, rounded up: "3 MB".
std::string megabytes(double bytes);

// What a message shows of a text from outside: bytes that are no text, or would move the cursor, as \xNN; of a long
// text the beginning, with "..." behind it. UTF-8 stays.
std::string printable(std::string_view text);
// The same of each line of a message, which may be some pages long.
std::string printable_lines(std::string_view text);

// Joins the pieces of a message; numbers as a stream prints integers.
template <typename... Pieces>
std::string concat(const Pieces&... pieces) {
    std::string text;
    const auto add = [&text](const auto& piece) {
        using piece_type = std::decay_t<decltype(piece)>;
        if constexpr (std::is_same_v<piece_type, char>) {
            text += piece;
        } else if constexpr (std::is_integral_v<piece_type>) {
            text += std::to_string(piece);
        } else {
            static_assert(!std::is_floating_point_v<piece_type>, "say how a double is to be printed");
            text += piece;
        }
    };
    (add(pieces), ...);
    return text;
}
