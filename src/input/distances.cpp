// The matrix of distances between individuals (-distances) or haplotypes (-distances_by_hap).

#include "input/reader_common.h"
#include "input/readers.h"
#include "io/text.h"
#include "model/data.h"

namespace {

constexpr const char* wrong_size =
    "ERROR: The distance matrix does not contain the correct number of entries. If you used the -distances option, the "
    "matrix should have dimension N x N, where N is the number of 'individuals' (whether haploid or diploid) across "
    "all "
    "panels. If you used the -distances_by_hap option, the matrix should still have dimension N x N, but in this case "
    "N "
    "is the total number of haplotypes in the dataset.";

// What is no number ends the row; the rest of the row keeps its values.
void read_row(run_log& log, const text_input& file, std::string_view line, std::vector<double>& row, note_once& note) {
    field_scanner fields(line);
    std::string_view field;
    std::size_t i = 0;
    double value = 0.0;
    while (fields.next(field) && parse_double(field, value)) {
        if (i == row.size()) log.fatal(wrong_size);
        row[i++] = value;
    }
    if (i < row.size()) note.say(file, "the row has fewer numbers than the matrix has columns; the others are 0");
}

}  // namespace

std::vector<std::vector<double>> read_distances_file(data& run, bool by_hap) {
    const std::string& name = by_hap ? run.params.distances_by_hap_file : run.params.distances_file;
    announce(run.log, "-reading distance matrix", name);
    text_input file(run.log, name,
                    concat("ERROR: The -distances", by_hap ? "_by_hap" : "", " file you specified does not exist."),
                    unopened_text("distance matrix file", name));
    const auto n = static_cast<std::size_t>(by_hap ? run.panels[0].n_hap + run.panels[1].n_hap + run.panels[2].n_hap
                                                   : run.panels[0].n_hap + run.panels[1].n_ind + run.panels[2].n_ind);
    std::vector<std::vector<double>> distances(n, std::vector<double>(n, 0.0));
    note_once short_row;
    std::size_t i = 0;
    std::string_view line;
    while (file.next_filled_line(line)) {
        if (i == n) run.log.fatal(wrong_size);
        read_row(run.log, file, line, distances[i++], short_row);
    }
    if (i < n) file.note("the file has fewer lines than the matrix has rows; the others are 0");
    return distances;
}
