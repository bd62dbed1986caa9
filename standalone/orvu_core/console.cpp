#include "standalone/orvu_core/console.h"

#include <condition_variable>
#include <cstring>
#include <utility>
#include <vector>

#include "standalone/orvu_core/codes.h"
#include "standalone/orvu_core/command_line.h"

namespace orvu {

/* One run of a command, shared by the one who asked and the handler's task. */
struct CommandRun {
    std::vector<std::string> words;
    std::mutex mutex;
    std::condition_variable changed;
    bool abandoned = false;
    bool finished = false;
    int32_t code = ORVU_HOST_OWNER_GONE;
    size_t bytes = 0;
    std::vector<std::pair<int32_t, std::string>> echoes;

    void finish(int32_t outcome) {
        {
            const std::lock_guard lock(mutex);
            if (finished) {
                return;
            }
            finished = true;
            code = outcome;
        }
        changed.notify_all();
    }
};

namespace {

// A handler may look past its last argument: it finds this many nulls there.
constexpr size_t kNullsPastEnd = 4;

struct Unfinished {
    std::shared_ptr<CommandRun> run;
    explicit Unfinished(std::shared_ptr<CommandRun> waiting) : run(std::move(waiting)) {}
    Unfinished(const Unfinished&) = delete;
    Unfinished& operator=(const Unfinished&) = delete;
    ~Unfinished() { run->finish(ORVU_HOST_OWNER_GONE); }
};

void call_handler(const CommandRun& run, orvu_dbg_handler handler, orvu_dbg context) {
    std::vector<const char*> argv;
    argv.reserve(run.words.size() + kNullsPastEnd);
    for (const std::string& word : run.words) {
        argv.push_back(word.c_str());
    }
    argv.resize(run.words.size() + kNullsPastEnd, nullptr);
    handler(static_cast<int32_t>(run.words.size()), argv.data(), context);
}

JsonRef echoes_of(const std::vector<std::pair<int32_t, std::string>>& echoes) {
    JsonRef array(qiv_json_array());
    for (const auto& [code, text] : echoes) {
        JsonRef entry(qiv_json_object());
        qiv_json_object_set_new(entry.get(), "code", qiv_json_integer(code));
        qiv_json_object_set_new(entry.get(), "text", json_text(text.data(), text.size()).release());
        qiv_json_array_append_new(array.get(), entry.release());
    }
    return array;
}

}  // namespace

int32_t Console::declare(const char* command, const char* help, orvu_dbg_handler handler) {
    if (!usable_name(command) || handler == nullptr) {
        return ORVU_HOST_INVALID;
    }
    const std::shared_ptr<Mailbox> mailbox = Mailbox::current();
    if (!mailbox) {
        return ORVU_HOST_NO_MEMORY;
    }
    Command entry{mailbox, help == nullptr ? "" : help, handler};
    const std::lock_guard lock(mutex_);
    return commands_.try_emplace(command, std::move(entry)).second ? ORVU_HOST_OK
                                                                   : ORVU_HOST_DUPLICATE;
}

int32_t Console::echo(orvu_dbg context, int32_t code, const char* text) {
    if (text == nullptr) {
        return ORVU_HOST_INVALID;
    }
    const std::shared_ptr<CommandRun> run = running_.find(context);
    if (!run) {
        return ORVU_HOST_NOT_FOUND;
    }
    const size_t length = std::strlen(text);
    const std::lock_guard lock(run->mutex);
    // An echo counts some bytes of its own, so that endless empty ones end too.
    if (length + 64 > kMaxEchoBytes - run->bytes) {
        return ORVU_HOST_LIMIT;
    }
    if (!run->abandoned) {
        run->echoes.emplace_back(code, std::string(text, length));
        run->bytes += length + 64;
    }
    return ORVU_HOST_OK;
}

int32_t Console::run(const char* line, uint32_t timeout_ms, JsonRef* output) {
    auto run = std::make_shared<CommandRun>();
    if (line == nullptr || strnlen(line, 64 * 1024) >= 64 * 1024 ||
        !split_command_line(line, &run->words) || run->words.empty()) {
        return ORVU_HOST_INVALID;
    }
    Command command;
    {
        const std::lock_guard lock(mutex_);
        const auto found = commands_.find(run->words[0]);
        if (found == commands_.end()) {
            return ORVU_HOST_NOT_FOUND;
        }
        command = found->second;
    }
    if (run->words.size() == 2 && run->words[1] == "?") {
        *output = echoes_of({{0, command.help}});
        return ORVU_HOST_OK;
    }
    if (command.mailbox == Mailbox::current()) {
        return ORVU_HOST_WOULD_BLOCK;
    }
    auto guard = std::make_shared<Unfinished>(run);
    const auto result = command.mailbox->post(
        [this, guard, handler = command.handler] {
            {
                const std::lock_guard lock(guard->run->mutex);
                if (guard->run->abandoned) {
                    return;
                }
            }
            const uintptr_t context = next_handle();
            running_.put(context, guard->run);
            call_handler(*guard->run, handler, context);
            running_.erase(context);
            guard->run->finish(ORVU_HOST_OK);
        },
        Mailbox::Kind::ordinary);
    guard.reset();
    if (result != Mailbox::Result::posted) {
        return code_of(result);
    }
    const steady_time deadline = deadline_after(timeout_ms);
    std::unique_lock lock(run->mutex);
    const bool done = wait_until(run->changed, lock, deadline, [&run] { return run->finished; });
    run->abandoned = true;
    *output = echoes_of(run->echoes);
    return done ? run->code : ORVU_HOST_TIMED_OUT;
}

JsonRef Console::list() {
    JsonRef array(qiv_json_array());
    const std::lock_guard lock(mutex_);
    for (const auto& [name, command] : commands_) {
        JsonRef entry(qiv_json_object());
        qiv_json_object_set_new(entry.get(), "name", json_text(name.data(), name.size()).release());
        qiv_json_object_set_new(entry.get(), "help",
                                json_text(command.help.data(), command.help.size()).release());
        qiv_json_array_append_new(array.get(), entry.release());
    }
    return array;
}

void Console::drop_mailbox(const std::shared_ptr<Mailbox>& mailbox) {
    const std::lock_guard lock(mutex_);
    std::erase_if(commands_,
                  [&mailbox](const auto& entry) { return entry.second.mailbox == mailbox; });
}

}  // namespace orvu
