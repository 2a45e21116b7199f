#pragma once

// Which sites each copying model visits.

#include "model/copying_models.h"
#include "model/run_plan.h"
#include "model/site_table.h"

// Fills the traits of the sites.
void list_traits(site_table& sites);

// Fills the site lists of all models; those of hole filling get their (empty) gaps, too.
void list_model_sites(const run_plan& plan, const site_table& sites, copying_models& models);
