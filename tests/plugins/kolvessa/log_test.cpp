// Every log line of the plug-in has one form, and a process without a logger gets one first.

#include "plugins/kolvessa/log.h"

#include <gmock/gmock.h>

#include "tests/fakehost/host_test.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Log : public fakehost::HostTest {};

static_assert(std::string_view(kolvessa::log::base_name("a\\b\\c.cpp")) == "c.cpp");
static_assert(std::string_view(kolvessa::log::base_name("/a/b/c.cpp")) == "c.cpp");
static_assert(std::string_view(kolvessa::log::base_name("a\\b/c.cpp")) == "c.cpp");
static_assert(std::string_view(kolvessa::log::base_name("c.cpp")) == "c.cpp");

// Whether `text` is `pattern` with each '#' standing for one digit.
bool has_form(const std::string& text, const std::string& pattern) {
    if (text.size() != pattern.size()) {
        return false;
    }
    for (size_t i = 0; i < text.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == '#' ? !digit : text[i] != pattern[i]) {
            return false;
        }
    }
    return true;
}

TEST_F(Log, a_line_is_prefix_and_message_with_nothing_appended) {
    KOLVESSA_LOG_INFO("value %d of %s", 7, "text");
    const int line = __LINE__ - 1;
    const auto lines = host.log_lines();
    ASSERT_EQ(lines.size(), 1U);
    const std::string& text = lines[0].text;
    EXPECT_EQ(lines[0].level, 2);
    const std::string stamp = text.substr(0, text.find(']') + 1);
    EXPECT_TRUE(has_form(stamp, "[####-##-## ##:##:##]")) << stamp;
    EXPECT_EQ(text.substr(stamp.size()),
              " [info] [pid:" + std::to_string(kolvessa::platform::process_id()) +
                  "] [tid:" + std::to_string(kolvessa::platform::thread_id()) +
                  "] [nox] [log_test.cpp:" + std::to_string(line) + "] value 7 of text");
}

TEST_F(Log, a_stamp_is_year_month_day_hour_minute_second_with_leading_zeros) {
    std::tm time = {};
    time.tm_year = 126;
    time.tm_mon = 0;
    time.tm_mday = 5;
    time.tm_hour = 7;
    time.tm_min = 8;
    time.tm_sec = 9;
    kolvessa::log::Stamp stamp;
    kolvessa::log::write_stamp(&time, stamp);
    EXPECT_STREQ(stamp.text, "2026-01-05 07:08:09");
}

TEST_F(Log, a_time_that_can_not_be_told_is_the_first_of_january_1970) {
    kolvessa::log::Stamp stamp;
    kolvessa::log::write_stamp(nullptr, stamp);
    EXPECT_STREQ(stamp.text, "1970-01-01 00:00:00");
}

TEST_F(Log, a_line_has_the_local_time_of_its_writing) {
    const auto now = [] {
        std::tm time = {};
        EXPECT_TRUE(kolvessa::platform::local_time(time));
        kolvessa::log::Stamp stamp;
        kolvessa::log::write_stamp(&time, stamp);
        return std::string("[").append(stamp.text).append("]");
    };
    const std::string before = now();
    KOLVESSA_LOG_INFO("a");
    const std::string after = now();
    const std::string text = host.log_lines().at(0).text;
    const std::string stamp = text.substr(0, before.size());
    EXPECT_LE(before, stamp);
    EXPECT_LE(stamp, after);
}

TEST_F(Log, the_logger_is_made_sure_of_before_the_time_is_taken_and_the_level_is_asked_last) {
    host.set_log_registered(false);
    host.record_everything();
    KOLVESSA_LOG_INFO("a");
    EXPECT_THAT(host.call_names(),
                ElementsAre("orvu_log_is_regestered", "orvu_process_get_path", "orvu_log_dir",
                            "orvu_str_snprintf", "orvu_autolog_init", "orvu_str_snprintf",
                            "orvu_log_level_get", "orvu_log_output"));
}

TEST_F(Log, each_level_has_its_word_and_number) {
    KOLVESSA_LOG_WARN("a");
    KOLVESSA_LOG_INFO("b");
    KOLVESSA_LOG_DEBUG("c");
    const auto lines = host.log_lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].level, 1);
    EXPECT_NE(lines[0].text.find("] [warn] ["), std::string::npos);
    EXPECT_EQ(lines[1].level, 2);
    EXPECT_NE(lines[1].text.find("] [info] ["), std::string::npos);
    EXPECT_EQ(lines[2].level, 3);
    EXPECT_NE(lines[2].text.find("] [debug] ["), std::string::npos);
}

TEST_F(Log, a_line_above_the_level_is_not_written_and_its_arguments_are_not_evaluated) {
    int evaluated = 0;
    const auto argument = [&evaluated] {
        return ++evaluated;
    };
    host.set_log_level(1);
    KOLVESSA_LOG_WARN("%d", argument());
    KOLVESSA_LOG_INFO("%d", argument());
    KOLVESSA_LOG_DEBUG("%d", argument());
    EXPECT_THAT(host.messages(), ElementsAre("1"));
    EXPECT_EQ(evaluated, 1);
}

TEST_F(Log, level_zero_writes_nothing) {
    host.set_log_level(0);
    KOLVESSA_LOG_WARN("a");
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(Log, the_default_log_lies_below_the_log_folder_of_the_framework) {
    host.set_log_registered(false);
    host.set_log_dir("D:/logs");
    host.set_program_path("C:\\Program Files\\Orvu\\service.exe");
    KOLVESSA_LOG_INFO("a");
    EXPECT_THAT(host.autologs(),
                ElementsAre("D:/logs//Talvern/ORVU3_LOG/orvu_default_autolog//service.exe/, 5"));
}

TEST_F(Log, without_a_log_folder_the_default_log_lies_below_the_program) {
    host.set_log_registered(false);
    host.set_program_path("/usr/bin/service");
    KOLVESSA_LOG_INFO("a");
    // A path without a backslash is its own base name.
    EXPECT_THAT(host.autologs(),
                ElementsAre("@/../var/logs/orvu_default_autolog///usr/bin/service/, 5"));
}

TEST_F(Log, the_default_log_is_made_once_and_also_by_a_line_that_is_not_written) {
    host.set_log_registered(false);
    host.set_log_level(0);
    KOLVESSA_LOG_DEBUG("a");
    KOLVESSA_LOG_DEBUG("b");
    EXPECT_EQ(host.autologs().size(), 1U);
    EXPECT_THAT(host.messages(), IsEmpty());
}

TEST_F(Log, a_registered_logger_is_left_alone) {
    KOLVESSA_LOG_WARN("a");
    EXPECT_THAT(host.autologs(), IsEmpty());
    EXPECT_EQ(host.count("orvu_log_dir"), 0U);
}

TEST_F(Log, a_default_log_that_can_not_be_made_is_tried_again_at_the_next_line) {
    host.set_log_registered(false);
    host.fail("orvu_autolog_init", 1);
    KOLVESSA_LOG_WARN("a");
    KOLVESSA_LOG_WARN("b");
    EXPECT_EQ(host.autologs().size(), 2U);
    EXPECT_THAT(host.messages(), ElementsAre("a", "b"));
}

TEST_F(Log, the_path_of_a_default_log_is_cut_at_260_characters) {
    host.set_log_registered(false);
    host.set_log_dir(std::string(400, 'd'));
    host.set_program_path(std::string("C:\\").append(400, 'p'));
    KOLVESSA_LOG_INFO("a");
    EXPECT_THAT(host.autologs(), ElementsAre(std::string(259, 'd') + ", 5"));
}

TEST_F(Log, wide_text_is_written_as_utf8) {
    KOLVESSA_LOG_INFO("path:%S\n", ORVU_TEXT("C:\\\u00e4\u20ac.exe"));
    EXPECT_THAT(host.messages(), ElementsAre("path:C:\\\xC3\xA4\xE2\x82\xAC.exe\n"));
}

}  // namespace
