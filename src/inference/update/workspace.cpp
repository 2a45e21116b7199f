#include "inference/update/workspace.h"

#include "io/result_file.h"
#include "model/data.h"

data::data(std::ostream& terminal, std::ostream& notes)
    : log(terminal, notes), work(std::make_unique<sweep_workspace>()) {}

data::~data() = default;
