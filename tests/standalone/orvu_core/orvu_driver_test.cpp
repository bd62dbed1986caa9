// The function driver's C calls check their arguments and reach the store.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "standalone/orvu_core/text.h"
#include "standalone/orvubase/core/process_path.h"
#include "tests/standalone/orvu_core/own_pid.h"
#include "tests/standalone/orvu_core/service_thread.h"

namespace orvu::test {
namespace {

const orvu_wchar* const kPath = ORVU_TEXT("Z:\\d\\tool.exe");

// Each test begins and ends with an empty process and path table.
class FunctionDriver : public testing::Test {
  protected:
    FunctionDriver() { clear(); }
    ~FunctionDriver() override { clear(); }
    static void clear() {
        for (uint64_t pid = 1; pid < 20; ++pid) {
            orvu_host_forget_pid(pid);
        }
        orvu_funcdrv_clear_appid_path_relation();
    }
};

std::string processes() {
    const JsonRef all(orvu_host_relations());
    return text_of(qiv_json_object_get(all.get(), "processes"));
}

TEST_F(FunctionDriver, a_relation_is_told_and_read_back) {
    EXPECT_EQ(orvu_funcdrv_add_appid_pid_relation(5, 4000000000U, 1, kPath, "default"), 0);
    EXPECT_EQ(processes(), R"([{"appid":4000000000,"inherit":true,"pid":5,"tag":"default"}])");
    const JsonRef of_path(orvu_host_relations_of_path(kPath));
    EXPECT_EQ(text_of(of_path),
              R"([{"appid":4000000000,"inherit":true,"path":"Z:\\d\\tool.exe","tag":"default"}])");
    const JsonRef of_pid(orvu_host_relations_of(5));
    EXPECT_EQ(text_of(of_pid), processes());
    const JsonRef of_other(orvu_host_relations_of(6));
    EXPECT_EQ(text_of(of_other), "[]");
}

TEST_F(FunctionDriver, null_path_and_tag_are_allowed_but_not_nothing_at_all) {
    EXPECT_EQ(orvu_funcdrv_add_appid_pid_relation(5, 1, 0, nullptr, nullptr), 0);
    EXPECT_EQ(orvu_funcdrv_add_appid_pid_relation(0, 1, 0, kPath, nullptr), 0);
    EXPECT_NE(orvu_funcdrv_add_appid_pid_relation(0, 1, 0, nullptr, nullptr), 0);
    EXPECT_EQ(processes(), R"([{"appid":1,"inherit":false,"pid":5,"tag":""}])");
}

TEST_F(FunctionDriver, a_path_too_long_for_a_cell_is_left_out) {
    const wide_string fits(259, static_cast<orvu_wchar>('x'));
    const wide_string longer(260, static_cast<orvu_wchar>('x'));
    EXPECT_EQ(orvu_funcdrv_add_appid_pid_relation(5, 1, 0, longer.c_str(), "t"), 0);
    uint32_t count = 0;
    EXPECT_EQ(orvu_funcdrv_get_app_path(nullptr, &count), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_NE(orvu_funcdrv_add_appid_pid_relation(0, 1, 0, longer.c_str(), "t"), 0);
    EXPECT_NE(orvu_funcdrv_add_unident_app_relation(longer.c_str()), 0);
    EXPECT_EQ(orvu_funcdrv_add_appid_pid_relation(5, 1, 0, fits.c_str(), "t"), 0);
    EXPECT_EQ(orvu_funcdrv_get_app_path(nullptr, &count), 0);
    EXPECT_EQ(count, 1U);
}

TEST_F(FunctionDriver, inheritance_answers_zero_only_when_something_was_taken_over) {
    orvu_funcdrv_add_appid_pid_relation(5, 1, 1, nullptr, "t");
    orvu_funcdrv_add_appid_pid_relation(6, 2, 0, nullptr, "t");
    EXPECT_EQ(orvu_funcdrv_add_appid_pid_relation_by_parent(7, 5), 0);
    EXPECT_NE(orvu_funcdrv_add_appid_pid_relation_by_parent(8, 6), 0);
    EXPECT_NE(orvu_funcdrv_add_appid_pid_relation_by_parent(8, 0), 0);
    const JsonRef of_child(orvu_host_relations_of(7));
    EXPECT_EQ(text_of(of_child), R"([{"appid":1,"inherit":true,"pid":7,"tag":"t"}])");
}

TEST_F(FunctionDriver, the_two_step_forms_learn_the_count_and_then_fill) {
    orvu_funcdrv_add_appid_pid_relation(5, 1, 1, kPath, "t");
    orvu_funcdrv_add_appid_pid_relation(6, 2, 0, kPath, "t");
    uint32_t count = 77;
    ASSERT_EQ(orvu_funcdrv_get_all_appids(nullptr, &count), 0);
    ASSERT_EQ(count, 2U);
    std::vector<unsigned char> pids(count * 9);
    EXPECT_EQ(orvu_funcdrv_get_all_appids(pids.data(), &count), 0);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(pids,
              (std::vector<unsigned char>{5, 0, 0, 0, 1, 0, 0, 0, 1, 6, 0, 0, 0, 2, 0, 0, 0, 0}));
    ASSERT_EQ(orvu_funcdrv_get_app_path(nullptr, &count), 0);
    ASSERT_EQ(count, 1U);
    std::vector<orvu_wchar> cell(260, 7);
    EXPECT_EQ(orvu_funcdrv_get_app_path(cell.data(), &count), 0);
    EXPECT_EQ(wide_string(cell.data()), kPath);
    EXPECT_EQ(cell[259], 0);
}

TEST_F(FunctionDriver, a_table_that_grew_or_shrank_in_between_is_safe) {
    orvu_funcdrv_add_appid_pid_relation(5, 1, 1, nullptr, "t");
    orvu_funcdrv_add_appid_pid_relation(6, 2, 0, nullptr, "t");
    std::vector<unsigned char> buffer(10, 0xEE);
    uint32_t count = 1;
    EXPECT_EQ(orvu_funcdrv_get_all_appids(buffer.data(), &count), 0);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(buffer[9], 0xEE);
    orvu_host_forget_pid(5);
    orvu_host_forget_pid(6);
    EXPECT_EQ(orvu_funcdrv_get_all_appids(buffer.data(), &count), 0);
    EXPECT_EQ(count, 0U);
    EXPECT_NE(orvu_funcdrv_get_all_appids(nullptr, nullptr), 0);
    EXPECT_NE(orvu_funcdrv_get_app_path(nullptr, nullptr), 0);
}

TEST_F(FunctionDriver, unidentified_paths_and_versions_are_shown) {
    EXPECT_EQ(orvu_funcdrv_add_unident_app_relation(ORVU_TEXT("Z:\\u")), 0);
    EXPECT_NE(orvu_funcdrv_add_unident_app_relation(nullptr), 0);
    uint64_t old_version = 99;
    EXPECT_EQ(orvu_funcdrv_set_applibrary_version("driver test", 12, &old_version), 0);
    EXPECT_EQ(old_version, 0U);
    EXPECT_EQ(orvu_funcdrv_set_applibrary_version("driver test", 13, &old_version), 0);
    EXPECT_EQ(old_version, 12U);
    EXPECT_EQ(orvu_funcdrv_set_applibrary_version("driver test", 14, nullptr), 0);
    EXPECT_NE(orvu_funcdrv_set_applibrary_version(nullptr, 14, &old_version), 0);
    const JsonRef all(orvu_host_relations());
    EXPECT_EQ(text_of(qiv_json_object_get(all.get(), "unidentified")), R"(["Z:\\u"])");
    EXPECT_EQ(text_of(qiv_json_object_get(all.get(), "versions")),
              R"([{"tag":"driver test","version":14}])");
    EXPECT_EQ(orvu_host_forget_path(ORVU_TEXT("Z:\\u")), ORVU_HOST_OK);
    EXPECT_EQ(orvu_host_forget_path(ORVU_TEXT("Z:\\u")), ORVU_HOST_NOT_FOUND);
    EXPECT_EQ(orvu_host_forget_path(nullptr), ORVU_HOST_NOT_FOUND);
}

TEST_F(FunctionDriver, a_tag_that_is_no_text_is_shown_with_replacements) {
    orvu_funcdrv_add_appid_pid_relation(5, 1, 0, nullptr, "a\xFF");
    EXPECT_EQ(processes(), "[{\"appid\":1,\"inherit\":false,\"pid\":5,\"tag\":\"a\xEF\xBF\xBD\"}]");
}

TEST_F(FunctionDriver, the_path_of_this_process_is_a_framework_path) {
    orvu_wchar buffer[260] = {7};
    ASSERT_EQ(orvu_funcdrv_get_procpath(own_pid(), buffer, 260), 0);
    const std::string path = show_utf8(buffer);
    EXPECT_EQ(path.substr(1, 2), ":\\");
    EXPECT_EQ(path.find('/'), std::string::npos);
    EXPECT_NE(path.find("orvu_core_test"), std::string::npos) << path;
    EXPECT_EQ(process_path(own_pid()), wide_string(buffer));
}

TEST_F(FunctionDriver, a_process_path_that_does_not_fit_or_exist_is_refused) {
    orvu_wchar buffer[260] = {7};
    EXPECT_NE(orvu_funcdrv_get_procpath(own_pid(), buffer, 5), 0);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_NE(orvu_funcdrv_get_procpath(0xFFFFFFF0U, buffer, 260), 0);
    EXPECT_NE(orvu_funcdrv_get_procpath(0xFFFFFFFF00000000U, buffer, 260), 0);
    EXPECT_NE(orvu_funcdrv_get_procpath(0, buffer, 260), 0);
    EXPECT_NE(orvu_funcdrv_get_procpath(own_pid(), nullptr, 260), 0);
    EXPECT_NE(orvu_funcdrv_get_procpath(own_pid(), buffer, 0), 0);
}

}  // namespace
}  // namespace orvu::test
