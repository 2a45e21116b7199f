#pragma once

struct data;

// Runs everything. Ends the run by throwing run_end on any error.
void impute(data& run);
