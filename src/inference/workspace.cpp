#include "inference/workspace.h"

#include "model/data.h"
#include "model/result_file.h"

data::data(std::ostream& terminal, std::ostream& notes)
    : log(terminal, notes), work(std::make_unique<sweep_workspace>()) {}

data::~data() = default;
