#pragma once

#include <set>
#include <string>
#include <utility>

#include "model/snp.h"

struct data;
using store_range = std::pair<site_store::iterator, site_store::iterator>;

bool find_compatible_snp(data& run, const std::string& a0, const std::string& a1, int panel,
                         site_store::iterator& match, const store_range& range);
void copy_snp(const snp& from, snp& to, const std::set<int>& panels, bool has_panel0);
void initialize_missing_ref_panel_snp_info(data& run);
