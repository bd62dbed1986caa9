#ifndef ORVU_STANDALONE_ORVU_CORE_RESOURCES_H
#define ORVU_STANDALONE_ORVU_CORE_RESOURCES_H

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "standalone/orvu_core/handle_table.h"
#include "standalone/orvu_core/json_ref.h"
#include "standalone/orvu_core/mailbox.h"
#include "standalone/orvu_core/orvu_core_host.h"
#include "standalone/orvu_core/schema_check.h"

namespace orvu {

struct Request;

/* The request endpoints: who serves which path, and the road of a request to its handler and back.
 * Any thread may call. The schema is checked on the requester's thread, the handler runs in the
 * mailbox of the thread that registered it. All calls may throw std::bad_alloc. */
class Resources {
  public:
    /* Registers a handler on the calling thread; schema null for none. Returns the outcome, which
     * is also delivered to the handler with a null request. INVALID for an unusable path or a null
     * handler (then nothing is delivered for want of one), DUPLICATE, BAD_PARAM for a schema that
     * can't be checked. */
    int32_t locate(const char* path, orvu_res_handler handler, const char* schema);

    /* See orvu_host_request; reason receives the text for the answer of a failure. */
    int32_t request(const char* path, json_t* param, uint32_t timeout_ms, JsonRef* response,
                    std::string* reason);

    int32_t wait_registered(const char* path, uint32_t timeout_ms);

    /* The parameters of a request whose handler is running; null otherwise. */
    json_t* param(orvu_request request);

    /* [{"path", "schema"}] */
    JsonRef list();

    /* Forgets what a thread that has ended had registered. */
    void drop_mailbox(const std::shared_ptr<Mailbox>& mailbox);

  private:
    struct Resource {
        std::shared_ptr<Mailbox> mailbox;
        orvu_res_handler handler;
        std::shared_ptr<const SchemaCheck> schema;
    };

    int32_t enter(const char* path, orvu_res_handler handler, const char* schema,
                  const std::shared_ptr<Mailbox>& mailbox);
    static int32_t await(Request& request, uint32_t timeout_ms, JsonRef* response);

    std::mutex mutex_;
    std::condition_variable registered_;
    std::map<std::string, Resource, std::less<>> resources_;
    HandleTable<Request> running_;
};

}  // namespace orvu

#endif  // ORVU_STANDALONE_ORVU_CORE_RESOURCES_H
