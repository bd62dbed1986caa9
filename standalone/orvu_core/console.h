#ifndef ORVU_STANDALONE_ORVU_CORE_CONSOLE_H
#define ORVU_STANDALONE_ORVU_CORE_CONSOLE_H

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "standalone/orvu_core/handle_table.h"
#include "standalone/orvu_core/json_ref.h"
#include "standalone/orvu_core/mailbox.h"
#include "standalone/orvu_core/orvu_core_host.h"

namespace orvu {

struct CommandRun;

/* The debug console: commands, and runs of them whose echoes are collected. A command's handler
 * runs in the mailbox of the thread that declared it. Any thread may call; all calls may throw
 * std::bad_alloc. */
class Console {
  public:
    static constexpr size_t kMaxEchoBytes = 64 * 1024 * 1024;

    /* INVALID, DUPLICATE, NO_MEMORY. A null help is an empty one. */
    int32_t declare(const char* command, const char* help, orvu_dbg_handler handler);

    /* Adds to the output of a run whose handler is running; from any thread. NOT_FOUND, INVALID for
     * a null text, LIMIT when the run has echoed kMaxEchoBytes. */
    int32_t echo(orvu_dbg context, int32_t code, const char* text);

    /* See orvu_host_console. */
    int32_t run(const char* line, uint32_t timeout_ms, JsonRef* output);

    /* [{"name", "help"}] */
    JsonRef list();

    void drop_mailbox(const std::shared_ptr<Mailbox>& mailbox);

  private:
    struct Command {
        std::shared_ptr<Mailbox> mailbox;
        std::string help;
        orvu_dbg_handler handler = nullptr;
    };

    std::mutex mutex_;
    std::map<std::string, Command, std::less<>> commands_;
    HandleTable<CommandRun> running_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_CONSOLE_H
