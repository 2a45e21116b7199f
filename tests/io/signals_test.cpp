#include "io/signals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "io/last_words.h"
#include "io/removal_list.h"
#include "support/temporary_folder.h"

namespace {

// How a process ends that does this.
int status_of(const std::function<void()>& action) {
    const pid_t child = fork();
    if (child == 0) {
        action();
        _exit(7);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return status;
}

TEST(signals, that_end_the_run_remove_what_is_listed) {
    const temporary_folder files;
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGXCPU}) {
        files.write("a", "text");
        const int status = status_of([&] {
            std::signal(signal, SIG_DFL);  // nohup lets one be ignored, a shell those of what is in its background
            install_signal_handlers();
            removal_list::add(files.name("a"));
            raise(signal);
        });
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        EXPECT_FALSE(files.has("a")) << signal;
    }
}

TEST(signals, that_end_the_run_leave_a_line_where_one_is_wanted) {
    const temporary_folder files;
    for (const auto& [signal, line] :
         {std::pair(SIGHUP, "\nfailed: ended by signal 1\n"), std::pair(SIGTERM, "\nfailed: ended by signal 15\n")}) {
        files.write("summary", "text");
        status_of([&, ending = signal] {
            std::signal(ending, SIG_DFL);
            install_signal_handlers();
            last_words::leave_in(open(files.name("summary").c_str(), O_WRONLY | O_APPEND));
            raise(ending);
        });
        EXPECT_EQ(std::string("text") + line, files.read("summary"));
        status_of([&, ending = signal] {
            std::signal(ending, SIG_DFL);
            install_signal_handlers();
            last_words::leave_in(open(files.name("summary").c_str(), O_WRONLY | O_APPEND));
            last_words::leave_in(-1);
            raise(ending);
        });
        EXPECT_EQ(std::string("text") + line, files.read("summary")) << "taken back";
    }
}

TEST(signals, that_were_ignored_stay_so) {
    const int status = status_of([] {
        signal(SIGHUP, SIG_IGN);
        install_signal_handlers();
        raise(SIGHUP);
    });
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
}

TEST(signals, of_a_broken_pipe_and_of_a_file_too_large_do_not_end_the_run) {
    const int status = status_of([] {
        install_signal_handlers();
        raise(SIGPIPE);
        raise(SIGXFSZ);
    });
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
}

TEST(signals, wait_while_they_are_held) {
    const temporary_folder files;
    const int status = status_of([&] {
        install_signal_handlers();
        const signals_held hold;
        raise(SIGTERM);
        files.write("done", "");
        _exit(7);
    });
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
    EXPECT_TRUE(files.has("done"));
    const int later = status_of([] {
        install_signal_handlers();
        {
            const signals_held hold;
            raise(SIGTERM);
        }
    });
    EXPECT_TRUE(WIFSIGNALED(later) && WTERMSIG(later) == SIGTERM) << later;
}

}  // namespace
