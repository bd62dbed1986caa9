// What a Linux file system brings along: files that aren't files, modes, links, full disks, kills.

#include "qiv_ejs.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <set>
#include <thread>

#include "qiv_jansson.h"
#include "standalone/qiv_ejs/qiv_ejs_host.h"
#include "tests/standalone/qiv/own_folder.h"

namespace orvu::ejs::tests {
namespace {

int32_t last_kind() {
    return qiv_ejs_last_error(nullptr, 0, nullptr);
}

int32_t dump(const std::string& path, const char* json) {
    json_t* const value = qiv_json_loads_ejs(json, 0, nullptr);
    const int32_t result = qiv_json_dump_file_ejs(value, framework(path).c_str());
    qiv_json_decref_ejs(value);
    return result;
}

std::string filled(char character) {
    return "[\"" + std::string(100'000, character) + "\"]";
}

mode_t mode_of(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0);
    return status.st_mode;
}

TEST(FileOfJsonOnLinux, is_no_pipe_socket_or_device_and_none_of_them_blocks) {
    const OwnFolder folder;
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(qiv_json_load_file_ejs(framework(pipe).c_str()), nullptr);
    EXPECT_EQ(last_kind(), QIV_EJS_NOT_A_FILE);
    EXPECT_EQ(dump(pipe, "[]"), QIV_EJS_NOT_A_FILE);
    EXPECT_TRUE(S_ISFIFO(mode_of(pipe)));

    const std::string name = folder.path("socket");
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, name.c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(qiv_json_load_file_ejs(framework(name).c_str()), nullptr);
    EXPECT_EQ(last_kind(), QIV_EJS_NOT_A_FILE);
    EXPECT_EQ(dump(name, "[]"), QIV_EJS_NOT_A_FILE);
    ::close(fd);

    for (const char* device : {"/dev/zero", "/dev/null", "/dev/tty"}) {
        EXPECT_EQ(qiv_json_load_file_ejs(framework(device).c_str()), nullptr);
        EXPECT_EQ(last_kind(), QIV_EJS_NOT_A_FILE) << device;
    }
    EXPECT_EQ(dump("/dev/null", "[]"), QIV_EJS_NOT_A_FILE);
}

TEST(FileOfJsonOnLinux, is_found_without_regard_to_case) {
    const OwnFolder folder;
    ASSERT_EQ(dump(folder.path("Rules.ejs"), "[1]"), 0);
    json_t* const value = qiv_json_load_file_ejs(framework(folder.path("rules.EJS")).c_str());
    EXPECT_NE(value, nullptr);
    qiv_json_decref_ejs(value);
    ASSERT_EQ(dump(folder.path("RULES.EJS"), "[2]"), 0);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"Rules.ejs"});
}

TEST(FileOfJsonOnLinux, keeps_the_mode_that_it_had) {
    const OwnFolder folder;
    const std::string path = folder.path("file");
    const mode_t before = ::umask(027);
    ASSERT_EQ(dump(path, "[1]"), 0);
    EXPECT_EQ(mode_of(path) & 07777, 0640U) << "a new one follows the umask";
    for (const mode_t mode : {0600U, 0644U, 0666U, 0440U, 0755U}) {
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
        ASSERT_EQ(dump(path, "[2]"), 0);
        EXPECT_EQ(mode_of(path) & 07777, mode);
    }
    ::umask(before);
}

TEST(FileOfJsonOnLinux, behind_a_link_is_replaced_and_the_link_stays) {
    const OwnFolder folder;
    fs::create_directory(folder.path("elsewhere"));
    const std::string target = folder.path("elsewhere/target");
    const std::string link = folder.path("link");
    ASSERT_EQ(dump(target, "[1]"), 0);
    ASSERT_EQ(::chmod(target.c_str(), 0604), 0);
    ASSERT_EQ(::symlink("elsewhere/target", link.c_str()), 0);
    ASSERT_EQ(dump(link, "[2]"), 0);
    EXPECT_TRUE(S_ISLNK(mode_of(link)));
    EXPECT_EQ(mode_of(target) & 07777, 0604U);
    EXPECT_EQ(read_text(target), "[\n  2\n]\n");

    const std::string dangling = folder.path("dangling");
    ASSERT_EQ(::symlink("nowhere", dangling.c_str()), 0);
    EXPECT_EQ(dump(dangling, "[3]"), QIV_EJS_NOT_WRITTEN);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"dangling", "elsewhere", "link"}));
}

// Runs `work` in a child; its result is the child's exit code.
int in_child(const std::function<int()>& work) {
    const pid_t pid = ::fork();
    if (pid == 0)
        ::_exit(work());
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(FileOfJsonOnLinux, stays_the_old_one_in_a_folder_that_may_not_be_written_to) {
    const OwnFolder folder;
    const std::string path = folder.path("file");
    ASSERT_EQ(dump(path, "[\"old\"]"), 0);
    ASSERT_EQ(::chmod(folder.path("").c_str(), 0555), 0);
    // Root may write anywhere: the child is somebody else.
    EXPECT_EQ(in_child([&] {
                  if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
                      return 99;
                  return static_cast<int>(dump(path, "[\"new\"]"));
              }),
              QIV_EJS_NOT_WRITTEN);
    EXPECT_EQ(read_text(path), "[\n  \"old\"\n]\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"file"});
}

TEST(FileOfJsonOnLinux, stays_the_old_one_when_the_disk_is_full) {
    const OwnFolder folder;
    const std::string path = folder.path("file");
    ASSERT_EQ(dump(path, "[\"old\"]"), 0);
    EXPECT_EQ(in_child([&] {
                  // A limit on a file's size stops the write half-way, as a full disk would.
                  ::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit{50'000, 50'000};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  return static_cast<int>(dump(path, filled('x').c_str()));
              }),
              QIV_EJS_NOT_WRITTEN);
    EXPECT_EQ(read_text(path), "[\n  \"old\"\n]\n");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"file"});
}

TEST(FileOfJsonOnLinux, is_the_old_one_or_the_new_one_whole_when_its_writer_is_killed) {
    const OwnFolder folder;
    const std::string path = folder.path("file");
    const std::string a = filled('a');
    const std::string b = filled('b');
    ASSERT_EQ(dump(path, a.c_str()), 0);
    const std::set<std::string> whole = {"[\n  \"" + std::string(100'000, 'a') + "\"\n]\n",
                                         "[\n  \"" + std::string(100'000, 'b') + "\"\n]\n"};
    std::mt19937 random(7);
    std::set<std::string> seen;
    for (int round = 0; round < 100; round++) {
        const pid_t pid = ::fork();
        if (pid == 0) {
            for (int i = round;; i++) {
                if (dump(path, i % 2 == 0 ? b.c_str() : a.c_str()) != 0)
                    ::_exit(1);
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200 + random() % 12'000));
        ::kill(pid, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed";
        const std::string text = read_text(path);
        ASSERT_EQ(whole.count(text), 1U) << "round " << round << ", " << text.size() << " bytes";
        seen.insert(text);
    }
    EXPECT_EQ(seen.size(), 2U) << "no round met a write";
    for (const std::string& name : folder.names())
        EXPECT_TRUE(name == "file" || name.rfind(".ejs-", 0) == 0) << name;
}

TEST(FileOfJsonOnLinux, is_whole_for_readers_while_it_is_written) {
    const OwnFolder folder;
    const std::string path = folder.path("file");
    ASSERT_EQ(dump(path, filled('a').c_str()), 0);
    std::thread writer([&] {
        for (int i = 0; i < 40; i++)
            EXPECT_EQ(dump(path, filled(i % 2 == 0 ? 'b' : 'a').c_str()), 0);
    });
    for (int i = 0; i < 200; i++) {
        json_t* const value = qiv_json_load_file_ejs(framework(path).c_str());
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(qiv_json_string_length(qiv_json_array_get_ejs(value, 0)), 100'000U);
        qiv_json_decref_ejs(value);
    }
    writer.join();
    EXPECT_EQ(folder.names(), std::vector<std::string>{"file"});
}

}  // namespace
}  // namespace orvu::ejs::tests
