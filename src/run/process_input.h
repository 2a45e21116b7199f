#pragma once

struct data;

// Checks and completes the settings.
void process_input(data& run);
