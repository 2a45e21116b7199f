#pragma once

// The rooms of the run that reading works on. What needs only one or two of them takes those.

struct genetic_map;
struct parameters;
struct run_plan;
struct site_table;
class run_log;

#include "model/panel.h"

struct input_rooms {
    const parameters& params;
    const run_plan& plan;
    run_log& log;
    genetic_map& map;
    panel_array& panels;
    site_table& sites;
};
