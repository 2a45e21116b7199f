#pragma once

#include <string>
#include <vector>

struct data;

void parse_legend_filters(data& run);
bool filter_legend_snp_by_num(data& run, const std::vector<std::string>& tokens, long position);
bool filter_legend_snp_by_str(const data& run, const std::vector<std::string>& tokens);
