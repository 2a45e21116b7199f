#pragma once

// The version of the program.
inline constexpr const char* program_version = "2.3.2";
