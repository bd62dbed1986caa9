// The store answers exactly as the model does: same records, same order, for every small library
// and file over a few values, and for random ones beyond.

#include <gtest/gtest.h>

#include <random>

#include "tests/plugins/kolvessa/app_rule/rule_match_model.h"
#include "tests/plugins/kolvessa/app_rule/rule_test.h"

namespace kolvessa {
namespace {

constexpr const char* field_names[] = {"signer",      "productname", "originalname", "copyright",
                                       "description", "iconhash",    "procpath"};

wide_string& attribute(AppInfo& info, size_t kind) {
    wide_string* attributes[] = {&info.signer,    &info.productname, &info.originalname,
                                 &info.copyright, &info.description, &info.iconhash,
                                 &info.procpath};
    return *attributes[kind];
}

class RuleMatchModelTest : public RuleTest {
  protected:
    // Puts the same libraries into a new store and a new model.
    void load_both(const std::vector<std::pair<std::string, std::string>>& libraries) {
        store_.emplace();
        model_.emplace();
        for (const auto& [tag, text] : libraries) {
            install(tag, text);
        }
        for (const auto& [tag, entry] : store().libraries()) {
            for (const auto& [name, text] : libraries) {
                if (name == tag) {
                    model_->add_library(tag, text);
                }
            }
        }
        model_->build();
        store().do_all_parsh_json();
        ASSERT_EQ(store().rule_count(), model_->rule_count());
        for (const auto& [tag, entry] : store().libraries()) {
            std::vector<uint32_t> found;
            ASSERT_EQ(store().get_appids_by_category(found, tag.c_str()), 0);
            ASSERT_EQ(found, model_->appids(tag));
        }
    }

    void expect_same(const AppInfo& info) {
        std::vector<RuleElement> expected;
        model_->match_app_info(info, expected);
        const auto found = matches(info);
        ASSERT_EQ(found, expected);
        total_ += found.size();
    }

    std::optional<RuleMatchModel> model_;
    size_t total_ = 0;  // records that were compared
};

// Every element over signer, productname and procpath with no value, an empty one, x or y.
std::vector<std::string> all_elements() {
    const std::vector<const char*> values{nullptr, "", "x", "y"};
    std::vector<std::string> elements;
    for (const char* signer : values) {
        for (const char* product : values) {
            for (const char* path : values) {
                std::string text;
                const auto state = [&](const char* name, const char* value) {
                    if (value != nullptr) {
                        text += std::string(text.empty() ? "" : ",") + "\"" + name + "\":\"" +
                                value + "\"";
                    }
                };
                state("signer", signer);
                state("productname", product);
                state("procpath", path);
                elements.push_back("{" + text + "}");
            }
        }
    }
    return elements;
}

TEST_F(RuleMatchModelTest, every_pair_of_small_elements_and_every_small_file_agree) {
    const auto elements = all_elements();
    std::vector<AppInfo> files;
    for (const char* signer : {"", "x", "y", "z"}) {
        for (const char* product : {"", "x", "y", "z"}) {
            for (const char* path : {"", "x", "ay", "xzY", "z"}) {
                AppInfo info;
                info.signer = fakehost::wide(signer);
                info.productname = fakehost::wide(product);
                info.procpath = fakehost::wide(path);
                files.push_back(info);
            }
        }
    }
    for (const std::string& first : elements) {
        for (const std::string& second : elements) {
            load_both({{"t", library(rule(1, first) + "," + rule(2, second))}});
            for (const AppInfo& file : files) {
                ASSERT_NO_FATAL_FAILURE(expect_same(file)) << first << second;
            }
        }
    }
    std::string all;
    for (const std::string& element : elements) {
        all += (all.empty() ? "" : ",") + element;
    }
    load_both({{"t", library(rule(1, all))}});
    for (const AppInfo& file : files) {
        ASSERT_NO_FATAL_FAILURE(expect_same(file));
    }
    EXPECT_GT(total_, 1000U);
}

TEST_F(RuleMatchModelTest, random_libraries_and_files_agree) {
    // Few values, so that much is shared; one can't be converted, one differs only by case.
    const std::vector<std::string> values{"", "a", "A", "b", "ab", "bad", "\xc3\xa9"};
    const std::vector<std::string> patterns{"", "a", "B", "*", "a*b", "\\\\", "\xc3\xa9", "ab*"};
    host.fail_text("bad");
    std::mt19937 random(20260101);
    const auto pick = [&](size_t count) {
        return static_cast<size_t>(random() % count);
    };

    for (int round = 0; round < 150; ++round) {
        std::vector<std::pair<std::string, std::string>> libraries;
        const auto one_rule = [&] {
            std::string elements;
            for (size_t e = pick(5); e > 0; --e) {
                std::string text = "{\"inherit\":" + std::to_string(pick(3));
                for (size_t kind = 0; kind < 7; ++kind) {
                    if (pick(3) == 0) {
                        const auto& pool = kind == 6 ? patterns : values;
                        text += std::string(",\"") + field_names[kind] + "\":\"" +
                                pool[pick(pool.size())] + "\"";
                    }
                }
                elements += text + "}" + (e > 1 ? "," : "");
            }
            return rule(static_cast<uint32_t>(pick(60)), elements);
        };
        for (const char* tag : {"b", "a", "ab"}) {
            std::string nodes;
            for (size_t n = 1 + pick(3); n > 0; --n) {
                std::string rules;
                for (size_t r = 1 + pick(6); r > 0; --r) {
                    rules += one_rule() + (r > 1 ? "," : "");
                }
                nodes += R"({"category":")" + values[1 + pick(3)] + R"(","rules":[)" + rules +
                         "]}" + (n > 1 ? "," : "");
            }
            libraries.emplace_back(tag, R"({"apprule":{"category":"top","rules":[)" + one_rule() +
                                            R"(],"item":[)" + nodes + "]}}");
        }
        ASSERT_NO_FATAL_FAILURE(load_both(libraries));
        for (int file = 0; file < 60; ++file) {
            AppInfo info;
            for (size_t kind = 0; kind < 7; ++kind) {
                if (pick(4) != 0) {
                    wide_string& value = attribute(info, kind);
                    value = fakehost::wide(values[pick(values.size())]);
                    if (pick(4) == 0) {
                        value.push_back(0);
                    }
                    if (kind == 6) {
                        value += fakehost::wide("\\" + values[pick(values.size())]);
                    }
                }
            }
            ASSERT_NO_FATAL_FAILURE(expect_same(info)) << "round " << round;
        }
    }
    EXPECT_GT(total_, 1000U);
}

}  // namespace
}  // namespace kolvessa
