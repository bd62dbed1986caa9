// A request reaches its handler on the right thread, checked, and its answer comes back.
#include "standalone/orvu_core/resources.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

constexpr uint32_t kLong = 10000;

struct Answer {
    int32_t code;
    JsonRef value;

    std::string get(const char* key) const {
        const char* const text = qiv_json_string_value(qiv_json_object_get(value.get(), key));
        return text == nullptr ? "" : text;
    }
};

Answer ask(const char* path, const JsonRef& param, uint32_t timeout = kLong) {
    json_t* response = nullptr;
    const int32_t code = orvu_host_request(path, param.get(), timeout, &response);
    return {code, JsonRef(response)};
}

// Answers with what it was asked; the calls are counted without the registration's outcome.
std::atomic<int> g_echoes{0};

json_t* echo(int32_t status, orvu_request request) {
    if (request == 0) {
        return nullptr;
    }
    ++g_echoes;
    json_t* const answer = qiv_json_object();
    qiv_json_object_set_new(answer, "status", qiv_json_integer(status));
    if (json_t* const param = orvur_req_get_param(request)) {
        qiv_json_object_set_new(answer, "seen", qiv_json_deep_copy(param));
    }
    return answer;
}

TEST(Resources, a_request_gets_the_handlers_answer) {
    const ServiceThread service([] { EXPECT_EQ(orvu_res_locate("/t/echo", 0, echo), 0); });
    const Answer answer = ask("/t/echo", json(R"({"a":[1,"x"]})"));
    EXPECT_EQ(answer.code, ORVU_HOST_OK);
    EXPECT_EQ(text_of(answer.value), R"({"seen":{"a":[1,"x"]},"status":0})");
}

TEST(Resources, a_request_without_parameters_gives_the_handler_null) {
    const ServiceThread service([] { EXPECT_EQ(orvu_res_locate("/t/none", 0, echo), 0); });
    EXPECT_EQ(text_of(ask("/t/none", JsonRef()).value), R"({"status":0})");
    EXPECT_EQ(orvu_host_request("/t/none", nullptr, kLong, nullptr), ORVU_HOST_OK);
}

TEST(Resources, the_handler_runs_on_the_thread_that_registered_it) {
    static std::atomic<std::thread::id> ran_on;
    const ServiceThread service([] {
        orvu_res_locate("/t/thread", 0, [](int32_t, orvu_request request) -> json_t* {
            ran_on = std::this_thread::get_id();
            return request == 0 ? nullptr : qiv_json_object();
        });
    });
    EXPECT_EQ(ask("/t/thread", JsonRef()).code, ORVU_HOST_OK);
    EXPECT_EQ(ran_on.load(), service.id());
}

TEST(Resources, the_outcome_of_a_registration_reaches_the_handler_itself) {
    static std::vector<int32_t> outcomes;
    outcomes.clear();
    const auto note = [](int32_t status, orvu_request request) -> json_t* {
        EXPECT_EQ(request, 0U);
        outcomes.push_back(status);
        return nullptr;
    };
    std::thread([&note] {
        EXPECT_EQ(orvu_res_locate("/t/outcome", 0, note), ORVU_HOST_OK);
        EXPECT_EQ(orvu_res_locate("/t/outcome", 0, note), ORVU_HOST_DUPLICATE);
        EXPECT_EQ(orvu_res_locate_ex("/t/other", 1, 0, note, "{no schema"), ORVU_HOST_BAD_PARAM);
        EXPECT_EQ(orvu_res_locate_ex("/t/other", 1, 0, note, nullptr), ORVU_HOST_BAD_PARAM);
        EXPECT_EQ(orvu_res_locate("", 0, note), ORVU_HOST_INVALID);
        EXPECT_EQ(orvu_res_locate(nullptr, 0, note), ORVU_HOST_INVALID);
        EXPECT_TRUE(outcomes.empty()) << "the outcome comes within a poll, not within the call";
        EXPECT_EQ(orvu_host_poll(0), 6U);
    }).join();
    EXPECT_EQ(outcomes,
              (std::vector<int32_t>{0, ORVU_HOST_DUPLICATE, ORVU_HOST_BAD_PARAM,
                                    ORVU_HOST_BAD_PARAM, ORVU_HOST_INVALID, ORVU_HOST_INVALID}));
    EXPECT_EQ(orvu_res_locate("/t/outcome", 0, nullptr), ORVU_HOST_INVALID);
}

TEST(Resources, a_request_that_fails_the_schema_is_answered_by_the_host_with_the_reason) {
    const ServiceThread service([] {
        EXPECT_EQ(orvu_res_locate_ex("/t/list", 1, 0, echo,
                                     R"({"type":"object","required":["url"],
                                         "properties":{"url":{"type":"string"}}})"),
                  0);
        EXPECT_EQ(orvu_res_locate_ex("/t/flag", 1, 0, echo,
                                     R"({"type":"object",
                                         "properties":{"url":{"type":"string","required":true}}})"),
                  0);
    });
    for (const char* path : {"/t/list", "/t/flag"}) {
        g_echoes = 0;
        const Answer missing = ask(path, json(R"({"other":1})"));
        EXPECT_EQ(missing.code, ORVU_HOST_BAD_PARAM);
        EXPECT_EQ(missing.get("error"), "bad_param");
        EXPECT_NE(missing.get("reason").find("url"), std::string::npos) << missing.get("reason");
        const Answer wrong = ask(path, json(R"({"url":5})"));
        EXPECT_EQ(wrong.code, ORVU_HOST_BAD_PARAM);
        EXPECT_NE(wrong.get("reason").find("/url"), std::string::npos) << wrong.get("reason");
        EXPECT_EQ(ask(path, JsonRef()).code, ORVU_HOST_BAD_PARAM);
        EXPECT_EQ(g_echoes, 0);
        EXPECT_EQ(ask(path, json(R"({"url":"u"})")).code, ORVU_HOST_OK);
        EXPECT_EQ(g_echoes, 1);
    }
}

TEST(Resources, without_the_check_argument_the_schema_is_not_used) {
    const ServiceThread service(
        [] { EXPECT_EQ(orvu_res_locate_ex("/t/nocheck", 0, 0, echo, "{no schema"), 0); });
    EXPECT_EQ(ask("/t/nocheck", json("5")).code, ORVU_HOST_OK);
}

TEST(Resources, each_failure_has_its_code_and_its_word) {
    static std::atomic<bool> release{false};
    const ServiceThread service([] {
        orvu_res_locate("/t/null", 0, [](int32_t, orvu_request) -> json_t* { return nullptr; });
        orvu_res_locate("/t/slow", 0, [](int32_t, orvu_request request) -> json_t* {
            while (request != 0 && !release) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return request == 0 ? nullptr : qiv_json_object();
        });
    });
    const auto expect = [](const Answer& answer, int32_t code, const char* word) {
        EXPECT_EQ(answer.code, code);
        EXPECT_EQ(answer.get("error"), word);
        EXPECT_FALSE(answer.get("reason").empty());
    };
    expect(ask("/t/nowhere", JsonRef()), ORVU_HOST_NOT_FOUND, "not_found");
    expect(ask("", JsonRef()), ORVU_HOST_INVALID, "invalid");
    expect(ask("/t/null", JsonRef()), ORVU_HOST_NO_ANSWER, "no_answer");
    expect(ask("/t/slow", JsonRef(), 20), ORVU_HOST_TIMED_OUT, "timed_out");
    // Its thread is still busy, so this one isn't begun before its time-out, nor after it.
    expect(ask("/t/null", JsonRef(), 20), ORVU_HOST_TIMED_OUT, "timed_out");
    release = true;
    EXPECT_EQ(ask("/t/slow", JsonRef()).code, ORVU_HOST_OK);
}

TEST(Resources, a_request_that_timed_out_before_its_handler_began_is_not_started) {
    static std::atomic<bool> release{false};
    static std::atomic<int> begun{0};
    const ServiceThread service([] {
        orvu_res_locate("/t/begin", 0, [](int32_t, orvu_request request) -> json_t* {
            if (request == 0) {
                return nullptr;
            }
            ++begun;
            while (!release) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return qiv_json_object();
        });
    });
    EXPECT_EQ(ask("/t/begin", JsonRef(), 50).code, ORVU_HOST_TIMED_OUT);
    EXPECT_EQ(ask("/t/begin", JsonRef(), 20).code, ORVU_HOST_TIMED_OUT);
    release = true;
    EXPECT_EQ(ask("/t/begin", JsonRef()).code, ORVU_HOST_OK);
    EXPECT_EQ(begun, 2) << "the first and the last";
}

TEST(Resources, a_thread_is_not_left_to_wait_for_itself) {
    EXPECT_EQ(orvu_res_locate("/t/self", 0, echo), 0);
    orvu_host_poll(0);
    const Answer answer = ask("/t/self", JsonRef());
    EXPECT_EQ(answer.code, ORVU_HOST_WOULD_BLOCK);
    EXPECT_EQ(answer.get("error"), "would_block");
}

TEST(Resources, a_thread_that_ends_takes_its_resources_along_and_fails_what_waits) {
    std::thread owner([] {
        orvu_res_locate("/t/gone", 0, echo);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));  // and ends without a poll
    });
    EXPECT_EQ(orvu_host_wait_resource("/t/gone", kLong), ORVU_HOST_OK);
    const Answer answer = ask("/t/gone", JsonRef());
    EXPECT_EQ(answer.code, ORVU_HOST_OWNER_GONE);
    EXPECT_EQ(answer.get("error"), "owner_gone");
    owner.join();
    EXPECT_EQ(ask("/t/gone", JsonRef()).code, ORVU_HOST_NOT_FOUND);
    const ServiceThread next([] { EXPECT_EQ(orvu_res_locate("/t/gone", 0, echo), 0); });
    EXPECT_EQ(ask("/t/gone", JsonRef()).code, ORVU_HOST_OK);
}

TEST(Resources, a_path_of_1024_bytes_is_the_longest) {
    const std::string longest(1024, 'p');
    EXPECT_EQ(orvu_res_locate((longest + "p").c_str(), 0, echo), ORVU_HOST_INVALID);
    const ServiceThread service(
        [&longest] { EXPECT_EQ(orvu_res_locate(longest.c_str(), 0, echo), ORVU_HOST_OK); });
    EXPECT_EQ(ask(longest.c_str(), JsonRef()).code, ORVU_HOST_OK);
    EXPECT_EQ(ask((longest + "p").c_str(), JsonRef()).code, ORVU_HOST_INVALID);
    orvu_host_poll(0);
}

TEST(Resources, a_full_queue_refuses_the_next_request) {
    static std::atomic<bool> busy{false};
    static std::atomic<bool> release{false};
    const ServiceThread service([] {
        orvu_res_locate("/t/full", 0, [](int32_t, orvu_request request) -> json_t* {
            busy = request != 0;
            while (request != 0 && !release) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            return request == 0 ? nullptr : qiv_json_object();
        });
    });
    std::thread first([] { EXPECT_EQ(ask("/t/full", JsonRef()).code, ORVU_HOST_OK); });
    EXPECT_TRUE(eventually([] { return busy.load(); }));
    for (size_t i = 0; i < Mailbox::kLimit; ++i) {
        ASSERT_EQ(ask("/t/full", JsonRef(), 0).code, ORVU_HOST_TIMED_OUT);
    }
    EXPECT_EQ(ask("/t/full", JsonRef(), 0).code, ORVU_HOST_QUEUE_FULL);
    release = true;
    first.join();
}

TEST(Resources, a_handle_is_worth_nothing_outside_its_handler) {
    static std::atomic<orvu_request> kept{0};
    const ServiceThread service([] {
        orvu_res_locate("/t/stale", 0, [](int32_t, orvu_request request) -> json_t* {
            kept = request;
            return request == 0 ? nullptr : qiv_json_object();
        });
    });
    EXPECT_EQ(ask("/t/stale", json("{}")).code, ORVU_HOST_OK);
    EXPECT_NE(kept.load(), 0U);
    EXPECT_EQ(orvur_req_get_param(kept), nullptr);
    EXPECT_EQ(orvur_req_get_param(0), nullptr);
}

TEST(Resources, parameters_nested_too_deeply_are_refused) {
    const ServiceThread service([] { orvu_res_locate("/t/deep", 0, echo); });
    const auto nested = [](int depth) {
        JsonRef value(qiv_json_array());
        for (int i = 1; i < depth; ++i) {
            JsonRef outer(qiv_json_array());
            qiv_json_array_append_new(outer.get(), value.release());
            value = outer;
        }
        return value;
    };
    EXPECT_EQ(ask("/t/deep", nested(kMaxJsonDepth)).code, ORVU_HOST_OK);
    EXPECT_EQ(ask("/t/deep", nested(kMaxJsonDepth + 1)).code, ORVU_HOST_INVALID);
}

TEST(Resources, many_requesters_each_get_their_own_answer) {
    const ServiceThread service([] { orvu_res_locate("/t/many", 0, echo); });
    std::vector<std::thread> requesters;
    requesters.reserve(4);
    for (int r = 0; r < 4; ++r) {
        requesters.emplace_back([r] {
            for (int i = 0; i < 200; ++i) {
                const JsonRef param(qiv_json_integer(r * 1000 + i));
                const Answer answer = ask("/t/many", param);
                ASSERT_EQ(qiv_json_integer_value(qiv_json_object_get(answer.value.get(), "seen")),
                          r * 1000 + i);
            }
        });
    }
    for (std::thread& requester : requesters) {
        requester.join();
    }
}

TEST(Resources, waiting_for_a_registration_ends_with_it_or_with_the_time) {
    EXPECT_EQ(orvu_host_wait_resource("/t/later", 10), ORVU_HOST_TIMED_OUT);
    EXPECT_EQ(orvu_host_wait_resource(nullptr, 10), ORVU_HOST_INVALID);
    std::thread late([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        orvu_res_locate("/t/later", 0, echo);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    });
    EXPECT_EQ(orvu_host_wait_resource("/t/later", kLong), ORVU_HOST_OK);
    late.join();
}

TEST(Resources, what_is_registered_is_listed_in_order) {
    const ServiceThread service([] {
        orvu_res_locate("/l/b", 0, echo);
        orvu_res_locate_ex("/l/a", 1, 0, echo, "{}");
    });
    const JsonRef all(orvu_host_registered());
    EXPECT_NE(text_of(qiv_json_object_get(all.get(), "resources"))
                  .find(R"({"path":"/l/a","schema":true},{"path":"/l/b","schema":false})"),
              std::string::npos);
}

}  // namespace
}  // namespace orvu::test
