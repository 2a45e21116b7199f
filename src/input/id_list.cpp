#include "input/id_list.h"

#include "io/text.h"
#include "io/text_input.h"

id_set read_first_fields(text_input& file) {
    id_set ids;
    std::string_view line, id;
    while (file.next_filled_line(line)) {
        field_scanner(line).next(id);
        ids.emplace(id);
    }
    return ids;
}
