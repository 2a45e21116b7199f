#pragma once

// A region without sites, which has no results.

#include <string>

#include "input/input_rooms.h"

// What the files have in place of sites in the region: the first and the last position of each file of sites.
std::string empty_region_text(const input_rooms& rooms);
