#pragma once

// For the start of every program: descriptors 0 to 2 that were closed are opened on /dev/null, since what is opened
// next would take their place and be written into by every message; then the signal handlers are installed.
void prepare_process();
