#pragma once

// Lists of names, of sites or of samples.

#include <functional>
#include <set>
#include <string>

class text_input;

// IDs of a list; can be asked with a view of a line.
using id_set = std::set<std::string, std::less<>>;

// The first field of each line that has one.
id_set read_first_fields(text_input& file);
