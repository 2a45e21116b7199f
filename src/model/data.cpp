#include "model/data.h"

#include "model/intervals.h"

std::pair<long, long> data::output_interval() const {
    return ::output_interval(params, plan);
}

std::pair<long, long> data::haps_interval() const {
    return ::haps_interval(params, plan);
}
