// Another process's path is the system's answer in framework form.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <string>

#include "orvubase.h"
#include "standalone/orvubase/core/path_map.h"
#include "tests/standalone/orvubase/scratch.h"

namespace {

// A sleeping copy of /bin/sleep.
class Sleeper {
  public:
    explicit Sleeper(const std::string& program) {
        int ready[2];
        EXPECT_EQ(pipe2(ready, O_CLOEXEC), 0);
        pid_ = fork();
        if (pid_ == 0) {
            execl(program.c_str(), program.c_str(), "60", nullptr);
            _exit(127);
        }
        close(ready[1]);
        // The pipe closes in the child at its exec.
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 0);
        close(ready[0]);
    }
    ~Sleeper() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

    uint32_t pid() const { return static_cast<uint32_t>(pid_); }

  private:
    pid_t pid_;
};

std::string path_of(uint32_t pid) {
    char buffer[ORVU_PATH_CAPACITY];
    EXPECT_EQ(orvu_process_get_path(pid, buffer, sizeof buffer), 0);
    return buffer;
}

TEST(Process, another_process_is_asked_of_the_system) {
    const Scratch scratch;
    std::filesystem::copy_file("/bin/sleep", scratch.path() / "Sleep er");
    const Sleeper sleeper(scratch.native("Sleep er"));
    EXPECT_EQ(path_of(sleeper.pid()), scratch.framework("Sleep er"));
}

TEST(Process, the_kernels_mark_of_a_removed_file_is_no_part_of_the_path) {
    const Scratch scratch;
    std::filesystem::copy_file("/bin/sleep", scratch.path() / "gone");
    const Sleeper sleeper(scratch.native("gone"));
    std::filesystem::remove(scratch.path() / "gone");
    EXPECT_EQ(path_of(sleeper.pid()), scratch.framework("gone"));
}

TEST(Process, a_name_that_is_no_text_is_no_path) {
    const Scratch scratch;
    const std::string name = scratch.native() + "/n\xFFme";
    std::filesystem::copy_file("/bin/sleep", name);
    const Sleeper sleeper(name);
    char buffer[ORVU_PATH_CAPACITY] = "abc";
    EXPECT_EQ(orvu_process_get_path(sleeper.pid(), buffer, sizeof buffer), 3);
    EXPECT_STREQ(buffer, "");
}

}  // namespace
