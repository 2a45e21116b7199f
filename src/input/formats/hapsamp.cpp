#include "input/formats/hapsamp.h"

#include "io/text.h"

std::string_view hapsamp_file::take_characters(std::string_view content) const {
    std::string_view characters;
    if (!field_scanner(content).next(characters)) fail("There are no haplotypes");
    if (!characters.empty() && characters.back() == '\r') characters.remove_suffix(1);
    return characters;
}

std::string_view hapsamp_file::first_characters() {
    const std::string_view line = first_line();
    if (line.empty()) return {};
    field_scanner fields(line);
    fields.skip(5);
    return take_characters(fields.rest());
}
