// The attributes of one file from all their sources, in their order, each source failing alone.

#include "plugins/kolvessa/kolvessa/app_info.h"

#include "tests/fakehost/host_test.h"
#include "tests/fixtures/pe_fixture.h"

namespace kolvessa {
namespace {

using fakehost::narrow;
using pe_fixture::path_of;

class ReadAppInfo : public fakehost::HostTest {
  protected:
    bool read(const wide_string& path, bool want_procpath = false) {
        info_ = {};
        return read_app_info(path.c_str(), want_procpath, info_);
    }

    static std::string shown(const wide_string& text) {
        return narrow(wide_string(until_nul(text)));
    }

    AppInfo info_;
};

TEST_F(ReadAppInfo, every_source_fills_its_field) {
    const wide_string path = path_of("plain.exe");
    host.set_signer(narrow(path), "The Signer");
    EXPECT_TRUE(read(path, true));
    EXPECT_EQ(shown(info_.signer), "The Signer");
    EXPECT_EQ(info_.iconhash.size(), 32U);
    EXPECT_EQ(shown(info_.productname), "Fixture Product");
    EXPECT_EQ(shown(info_.originalname), "plain.exe");
    EXPECT_EQ(shown(info_.copyright), "(c) The Fixture Makers");
    EXPECT_EQ(shown(info_.description), "A fixture of the build");
    EXPECT_EQ(info_.procpath, path);
}

TEST_F(ReadAppInfo, the_sources_are_asked_in_order_and_the_block_goes_back_last) {
    host.record_everything();
    const wide_string path = path_of("plain.exe");
    host.set_signer(narrow(path), "The Signer");
    host.forget_calls();
    EXPECT_TRUE(read(path));
    EXPECT_EQ(host.call_names(),
              (std::vector<std::string>{"orvu_malloc_", "orvu_str_ansi_to_unicode", "orvu_str_free",
                                        "qiv_get_file_sign_w", "orvu_free_"}));
}

TEST_F(ReadAppInfo, the_path_is_kept_only_when_it_is_wanted) {
    EXPECT_TRUE(read(path_of("plain.exe"), false));
    EXPECT_EQ(info_.procpath, ORVU_TEXT(""));
}

TEST_F(ReadAppInfo, the_path_keeps_its_case_and_a_wanted_one_is_always_something) {
    EXPECT_TRUE(read(ORVU_TEXT("Z:\\No\\Such\\File.EXE"), true));
    EXPECT_EQ(shown(info_.procpath), "Z:\\No\\Such\\File.EXE");
    EXPECT_TRUE(read(ORVU_TEXT(""), true));
    EXPECT_EQ(info_.procpath, ORVU_TEXT(""));
}

TEST_F(ReadAppInfo, a_file_without_version_strings_is_known_by_signer_and_icon) {
    const wide_string path = path_of("no_version.exe");
    host.set_signer(narrow(path), "The Signer");
    EXPECT_TRUE(read(path));
    EXPECT_EQ(shown(info_.signer), "The Signer");
    EXPECT_EQ(info_.iconhash.size(), 32U);
    EXPECT_EQ(shown(info_.originalname), "no_version.exe");
    EXPECT_EQ(info_.productname, ORVU_TEXT(""));
}

TEST_F(ReadAppInfo, a_file_that_is_not_there_still_has_its_name) {
    EXPECT_TRUE(read(ORVU_TEXT("C:\\Program Files\\Gone\\gone.exe")));
    EXPECT_EQ(shown(info_.originalname), "gone.exe");
    EXPECT_EQ(info_.iconhash, ORVU_TEXT(""));
    EXPECT_EQ(info_.signer, ORVU_TEXT(""));
}

TEST_F(ReadAppInfo, a_path_without_a_backslash_is_the_name_as_a_whole) {
    EXPECT_TRUE(read(ORVU_TEXT("no/such/program")));
    EXPECT_EQ(shown(info_.originalname), "no/such/program");
}

TEST_F(ReadAppInfo, a_path_that_ends_in_a_backslash_gives_an_empty_name_and_true) {
    EXPECT_TRUE(read(ORVU_TEXT("Z:\\no\\such\\folder\\")));
    EXPECT_EQ(info_.originalname, ORVU_TEXT(""));
}

TEST_F(ReadAppInfo, an_empty_path_gives_nothing_and_false) {
    EXPECT_FALSE(read(ORVU_TEXT("")));
    EXPECT_EQ(info_.originalname, ORVU_TEXT(""));
}

TEST_F(ReadAppInfo, a_null_path_is_survived_and_reads_as_an_empty_one) {
    EXPECT_FALSE(read_app_info(nullptr, false, info_));
    EXPECT_TRUE(read_app_info(nullptr, true, info_));
    EXPECT_EQ(info_.procpath, ORVU_TEXT(""));
}

TEST_F(ReadAppInfo, an_original_name_of_length_1_gives_way_to_the_files_name) {
    EXPECT_TRUE(read(path_of("length_one.exe")));
    EXPECT_EQ(shown(info_.originalname), "length_one.exe");
    EXPECT_EQ(shown(info_.productname), "Fixture Product");
}

TEST_F(ReadAppInfo, a_version_resource_without_strings_is_something_all_the_same) {
    EXPECT_TRUE(read(path_of("no_strings.exe")));
    EXPECT_EQ(shown(info_.originalname), "no_strings.exe");
    EXPECT_EQ(info_.productname, ORVU_TEXT(""));
    EXPECT_TRUE(read(path_of("empty_values.exe")));
    EXPECT_EQ(shown(info_.originalname), "empty_values.exe");
}

TEST_F(ReadAppInfo, strings_behind_a_translation_that_names_no_table_are_found) {
    EXPECT_TRUE(read(path_of("translation_wrong.exe")));
    EXPECT_EQ(shown(info_.productname), "Fixture Product");
}

TEST_F(ReadAppInfo, a_refused_block_looks_like_a_file_without_strings) {
    host.fail("orvu_malloc_", 1, 0);
    EXPECT_TRUE(read(path_of("plain.exe")));
    EXPECT_EQ(info_.productname, ORVU_TEXT(""));
    EXPECT_EQ(shown(info_.originalname), "plain.exe");  // from the path
    EXPECT_EQ(info_.iconhash.size(), 32U);
}

TEST_F(ReadAppInfo, a_hash_that_can_not_be_widened_is_left_out) {
    host.fail("orvu_str_ansi_to_unicode", 1, 0);
    EXPECT_TRUE(read(path_of("plain.exe")));
    EXPECT_EQ(info_.iconhash, ORVU_TEXT(""));
}

TEST_F(ReadAppInfo, a_signer_of_199_characters_fits) {
    const wide_string path = path_of("plain.exe");
    const std::string name(199, 's');
    host.set_signer(narrow(path), name);
    EXPECT_TRUE(read(path));
    EXPECT_EQ(shown(info_.signer), name);
}

TEST_F(ReadAppInfo, nothing_is_logged) {
    read(path_of("plain.exe"), true);
    read(path_of("half.exe"), true);
    read(path_of("not_there.exe"), true);
    EXPECT_TRUE(host.log_lines().empty());
}

}  // namespace
}  // namespace kolvessa
