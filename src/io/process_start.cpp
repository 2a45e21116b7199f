#include "io/process_start.h"

#include <fcntl.h>
#include <unistd.h>

#include "io/signals.h"

void prepare_process() {
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) descriptor = open("/dev/null", O_RDWR);
    if (descriptor > STDERR_FILENO) close(descriptor);
    install_signal_handlers();
}
