#pragma once

// Stand-ins for reference data that hole filling is to find.

#include "model/panel.h"
#include "model/parameters.h"
#include "model/snp.h"

// Gives the sites that the reference panel to be filled lacks that panel's data, all missing, under the names of the
// panel above it, and marks them (ref_alleles_missing). The panel is 0 if there is one, else 1; nothing is done without
// either. (initialize_missing_ref_panel_snp_info)
void prepare_holes(const parameters& params, const panel_array& panels, site_store& store);
