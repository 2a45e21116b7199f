#pragma once

// Whether the run has the memory that its iterations will take.

#include <cstddef>
#include <string>
#include <vector>

#include "io/memory_limits.h"

struct data;
class run_log;

struct memory_need {
    std::size_t sums = 0;   // bytes of the sums that results are made from, by counts
    std::size_t other = 0;  // what updates work with, about
};
// What the run will take beyond what it has. To be asked when panels and sites are fixed, before the sums are
// allocated.
memory_need memory_to_come(const data& run);

// Ends the run where a limit is less than what is used and four fifths of what is to come; notes it where the limit is
// less than a fifth above. content: the people and sites of the run, for the message.
void compare_memory(run_log& log, const memory_need& need, const std::vector<memory_limit>& limits,
                    const std::string& content);

// The two of them, with the limits of the process.
void require_memory(data& run);
