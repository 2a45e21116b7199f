// The matrix of distances between individuals (-distances) or haplotypes (-distances_by_hap).

#include "input/announce.h"
#include "input/note_once.h"
#include "input/readers.h"
#include "io/run_log.h"
#include "io/text.h"
#include "io/text_input.h"
#include "model/parameters.h"

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
    if (i < row.size()) note.odd(file, "The row has fewer numbers than the matrix has columns", "the others are 0");
}

}  // namespace

std::vector<std::vector<double>> read_distances(run_log& log, const parameters& params, const panel_array& panels,
                                                bool by_hap) {
    const std::string& name = by_hap ? params.distances_by_hap_file : params.distances_file;
    announce(log, "-reading distance matrix", name);
    text_input file(log, name, missing_text(by_hap ? "-distances_by_hap" : "-distances"),
                    unopened_text("distance matrix file", name));
    const std::size_t n = by_hap ? panels[0].n_hap + panels[1].n_hap + panels[2].n_hap
                                 : panels[0].n_hap + panels[1].n_ind + panels[2].n_ind;
    std::vector<std::vector<double>> distances(n, std::vector<double>(n, 0.0));
    note_once short_row;
    std::size_t i = 0;
    std::string_view line;
    while (file.next_filled_line(line)) {
        if (i == n) log.fatal(wrong_size);
        read_row(log, file, line, distances[i++], short_row);
    }
    if (i < n) file.odd("There are fewer lines than the matrix has rows", "the others are 0");
    return distances;
}
