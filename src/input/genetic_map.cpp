// The genetic map: the stretch of the -m file that covers the region.

#include "input/announce.h"
#include "input/note_once.h"
#include "input/readers.h"
#include "io/run_log.h"
#include "io/text.h"
#include "io/text_input.h"
#include "model/parameters.h"
#include "model/run_plan.h"

namespace {

constexpr double genetic_tolerance = 1e-10;
constexpr double extrapolated_rate = 1e-8;  // Morgans a base pair where there is no map: 1 cM per Mb
constexpr double chrx_scale = 0.75;         // of the effective size outside the pseudo-autosomal regions

struct map_point {
    long position = -1;
    double cM = -1.0;
};

text_input open_map(run_log& log, const std::string& name) {
    announce(log, "-reading genetic map from -m file", name);
    return text_input(log, name, missing_text("-m"), unopened_text("genetic map file", name));
}

void check_header(run_log& log, text_input& file) {
    std::string_view line, first;
    if (!file.next_line(line)) line = {};
    if (count_fields(line) == 3) {
        long position = 0;
        field_scanner(line).next(first);
        if (parse_long(first, position)) {
            file.odd("There are numbers in place of a header",
                     "the line counts as the header, and its point is left out");
        }
        return;
    }
    log.fatal(concat("ERROR: The genetic map file [", file.name(),
                     "] does not conform to the required three-column format. Please review the online documentation "
                     "and try again."));
}

// Reads position and centimorgans into the point; what cannot be read leaves it as it was.
void read_point(const text_input& file, std::string_view line, map_point& point, note_once& unread) {
    field_scanner fields(line);
    std::string_view position, rate, cM;
    fields.next(position);
    fields.next(rate);
    fields.next(cM);
    if (!parse_long(position, point.position) || !parse_double(cM, point.cM)) {
        unread.odd(file, "The line does not hold the numbers position, rate and map position",
                   "values of the line before stand in, here and in what follows");
    }
}

void check_order(run_log& log, const map_point& last, const map_point& point) {
    if (point.position <= last.position) {
        log.fatal(
            concat("ERROR: The physical positions in the genetic map file (first column) are not strictly "
                   "increasing and unique, as seen from consecutive positions ",
                   last.position, " and ", point.position, "."));
    }
    if (point.cM - last.cM < -genetic_tolerance) {
        log.fatal(
            concat("ERROR: The genetic map positions in the genetic map file (third column) are not strictly "
                   "increasing, as seen from consecutive positions ",
                   fixed_text(last.cM, 10), " and ", fixed_text(point.cM, 10), "."));
    }
}

// Points that are kept are compared with the last one left of the region alone, so that a stretch in the region may be
// out of order; it stays so.
void note_disorder(const text_input& file, const genetic_map& map, const map_point& point, double scaled,
                   note_once& disorder) {
    if (map.positions.empty() || (point.position > map.positions.back() && scaled >= map.scaled.back())) return;
    disorder.odd(file,
                 concat("The position ", point.position, " or the map position ", default_text(point.cM),
                        " is not above that of the line before"),
                 "the map stays as it stands");
}

// first, last: of the points that were read; last is left of the region unless there is a kept one. What is to be said
// only of a run with sites is given back.
std::string check_reach(run_log& log, const text_input& file, const run_plan& plan, const genetic_map& map, long first,
                        const map_point& last) {
    const std::string region =
        concat("the region of the run with its buffer is ", plan.buffer_lower, " to ", plan.buffer_upper);
    if (map.positions.empty() && last.position == -1) {
        log.odd_input(concat("The genetic map file [", file.name(),
                             "] has no point: all sites are taken to be at one genetic position."));
    } else if (map.positions.empty()) {
        return concat("The genetic map file [", file.name(), "] covers the positions ", first, " to ", last.position,
                      ", and ", region,
                      ": all sites are taken to be at one genetic position. Give the map of the same "
                      "chromosome and genome build as the data.");
    } else if (map.positions.front() > plan.buffer_upper) {
        log.odd_input(concat("The genetic map file [", file.name(), "] begins at position ", first, ", and ", region,
                             ": the rate there is taken for 1 cM per Mb."));
    }
    return {};
}

}  // namespace

map_reading read_genetic_map(run_log& log, const parameters& params, const run_plan& plan) {
    text_input file = open_map(log, params.m_file);
    check_header(log, file);
    const double effective_size = params.chrX && !params.Xpar ? chrx_scale * params.Ne : params.Ne;
    const double scale = 4.0 * effective_size * params.switch_rate;
    const double size_outside = params.chrX ? chrx_scale * params.Ne : params.Ne;
    genetic_map map;
    map.rate_outside = 4.0 * size_outside * extrapolated_rate * params.switch_rate;
    const auto append = [&](const map_point& point) {
        map.positions.push_back(point.position);
        map.scaled.push_back(scale * point.cM * 0.01);
    };
    map_point last;  // the last point left of the region; all others are compared with it
    map_point point;
    bool pending = true;
    std::size_t n_inside = 0;
    note_once unread, disorder;
    long first = -1;
    std::string_view line;
    while (file.next_line(line)) {
        read_point(file, line, point, unread);
        check_order(log, last, point);
        if (first == -1) first = point.position;
        if (point.position < plan.buffer_lower) {
            last = point;
            continue;
        }
        if (pending && last.position != -1) {
            append(last);
            pending = false;
        }
        if (point.position <= plan.buffer_upper) ++n_inside;
        note_disorder(file, map, point, scale * point.cM * 0.01, disorder);
        append(point);
        if (point.position > plan.buffer_upper) break;
    }
    std::string out_of_reach = check_reach(log, file, plan, map, first, last);
    log.line(concat(" --read ", n_inside, " SNPs in the analysis interval+buffer region"));
    return {std::move(map), std::move(out_of_reach)};
}
