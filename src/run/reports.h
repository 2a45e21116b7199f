#pragma once

struct data;

void print_nomenclature(data& run);
void print_files(data& run);
void print_params(data& run);
