#pragma once

struct data;

// Sets the numbers of states of all models.
void set_state_counts(data& run);
