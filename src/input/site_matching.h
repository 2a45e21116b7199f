#pragma once

// Which site of the store a panel's SNP belongs to.

#include <cstddef>
#include <optional>

#include "model/site_table.h"

class run_log;

using site_match = std::optional<site_store::iterator>;

// The first entry at the position that can be the same variant as a SNP of the panel with these labels: by the labels
// of Panel 2, in either order, for a reference panel also from the other strand; for Panel 0 else by those of Panel 1.
// An entry that has a partner in the panel already is none; such a second claim is warned of, and its position kept
// (multi_match_positions).
site_match find_compatible_snp(run_log& log, site_table& sites, long position, const panel_labels& labels,
                               std::size_t panel);
