#pragma once

#include <string>
#include <string_view>

// The chromosome, as the files name it; an empty name where none does, 0 where none tells its length (base pairs).
struct contig_info {
    std::string name;
    long length = 0;
};

// Whether two names are those of one chromosome: they are equal but for a "chr" in front of one.
inline bool is_same_contig(std::string_view a, std::string_view b) {
    const auto bare = [](std::string_view name) { return name.starts_with("chr") ? name.substr(3) : name; };
    return bare(a) == bare(b);
}
