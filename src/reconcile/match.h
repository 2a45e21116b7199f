#pragma once

#include <set>

#include "model/snp.h"

void copy_snp(const snp& from, snp& to, const std::set<std::size_t>& panels, bool has_panel0);
