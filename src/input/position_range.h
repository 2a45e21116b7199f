#pragma once

// Which positions a file of sites has from its first to its last line, for messages: read apart from everything else,
// and without a word about what is wrong in the file.

#include <optional>
#include <string>

enum class site_columns_of {
    legend,
    site_lines
};  // the position is the second field behind a header, or the third one

struct position_range {
    long first = 0, last = 0;  // base pairs
};

// Of a file of text, which is read to its end. Nobody for a pipe, and for a file without a site or that cannot be read.
std::optional<position_range> text_positions(const std::string& name, site_columns_of kind);

// Of VCF or BCF: the records of a chromosome, or of that of the first record if the name is empty. An index tells the
// last one; a file without an index is read to its end.
std::optional<position_range> variant_positions(const std::string& name, const std::string& chromosome);
