#pragma once

// What kind of file begins with certain bytes.

#include <string>
#include <string_view>

struct hFILE;

struct file_kind {
    std::string_view name;    // "an xz file"; empty for text and for what is not known
    std::string_view advice;  // what to do where text is read
    bool is_gzipped = false;  // what is behind the compression then has the name
    bool is_empty = false;
};

// Of what a stream goes on with, of which nothing is taken.
file_kind kind_of(hFILE* stream);

// Why a file of this kind and name cannot be read as text, plain or compressed as its name says: a message that ends
// the run; empty when it can be.
std::string why_not_text(const file_kind& kind, const std::string& name);

// What is to be said of a compressed file whose name does not tell; empty for others. is_regular: false for a pipe.
std::string odd_name_text(const file_kind& kind, const std::string& name, bool is_regular);
