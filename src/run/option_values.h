#pragma once

// Which entries of the command line are values of an option, and how they are read.

#include <cstddef>
#include <string>
#include <vector>

// As atoi and atof read: the number at the start of the text, 0 if there is none.
int whole_number_of(const std::string& value);
double real_number_of(const std::string& value);

// Whether entry i is a lone dash that is the file, or one of the files, of the option before it.
bool stands_for_file(const std::vector<std::string>& entries, std::size_t i);
