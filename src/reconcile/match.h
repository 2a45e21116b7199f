#pragma once

#include <set>

#include "model/snp.h"

void copy_snp(const snp& from, snp& to, const std::set<int>& panels, bool has_panel0);
