#pragma once

struct data;

// (data::setup) Turns what the readers left in the store into one consistent site list with a plan of updates.
void setup(data& run);
