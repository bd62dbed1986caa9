#include "standalone/orvu/system.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace orvu {

namespace {

std::atomic<bool> stop_asked{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void orvu_note_signal(int) {
    stop_asked.store(true, std::memory_order_relaxed);
}

}  // namespace

void prepare_streams() {
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
    // Without SA_RESTART: a read from a terminal returns, so that the loop sees the flag.
    action.sa_handler = orvu_note_signal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool interrupted() {
    return stop_asked.load(std::memory_order_relaxed);
}

bool is_terminal(Stream stream) {
    switch (stream) {
        case Stream::in:
            return isatty(STDIN_FILENO) == 1;
        case Stream::out:
            return isatty(STDOUT_FILENO) == 1;
        case Stream::error:
            return isatty(STDERR_FILENO) == 1;
    }
    return false;
}

std::string default_home_words() {
    return "$XDG_STATE_HOME/orvu, else ~/.local/state/orvu";
}

std::string program_folder() {
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : path.parent_path().string();
}

std::string absolute_path(const std::string& path) {
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

FileKind file_kind(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return FileKind::missing;
    }
    return S_ISREG(status.st_mode) ? FileKind::file : FileKind::other;
}

std::string make_temporary_folder(const std::string& parent, const std::string& prefix,
                                  std::string& why) {
    std::string path = parent + "/" + prefix + "XXXXXX";
    if (mkdtemp(path.data()) == nullptr) {
        why = std::generic_category().message(errno);
        return {};
    }
    return path;
}

void remove_folder(const std::string& path) {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

orvu_plugin_entry load_plugin(const std::string& path, std::string& why) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        why = dlerror();
        return nullptr;
    }
    void* symbol = dlsym(library, ORVU_PLUGIN_ENTRY_NAME);
    if (symbol == nullptr) {
        why = "it has no " ORVU_PLUGIN_ENTRY_NAME;
        return nullptr;
    }
    return reinterpret_cast<orvu_plugin_entry>(symbol);
}

std::string plugin_file_name() {
    return "../lib/libkolvessa.so";
}

void leave(int code) {
    std::fflush(nullptr);
    _exit(code);
}

}  // namespace orvu
