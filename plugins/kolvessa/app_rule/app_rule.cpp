#include "plugins/kolvessa/app_rule/app_rule.h"

#include "orvubase.h"
#include "plugins/kolvessa/app_rule/rule_content.h"
#include "plugins/kolvessa/app_rule/rule_parser.h"
#include "plugins/kolvessa/log.h"

namespace kolvessa {
namespace {

constexpr int32_t load_tries = 10;
constexpr uint32_t retry_pause_ms = 500;

// Empties a content that an exception left half built.
class ClearUnlessBuilt {
  public:
    explicit ClearUnlessBuilt(RuleContent& content) : content_(&content) {}
    ~ClearUnlessBuilt() {
        if (content_ != nullptr) {
            content_->clear();
        }
    }
    ClearUnlessBuilt(const ClearUnlessBuilt&) = delete;
    ClearUnlessBuilt& operator=(const ClearUnlessBuilt&) = delete;

    void keep() noexcept { content_ = nullptr; }

  private:
    RuleContent* content_;
};

// The tokens of a category path.
class SplitPath {
  public:
    explicit SplitPath(const char* path) : tokens_(orvu_str_split(path, "/", &count_)) {}
    ~SplitPath() {
        if (tokens_ != nullptr) {
            orvu_str_split_free(tokens_);
        }
    }
    SplitPath(const SplitPath&) = delete;
    SplitPath& operator=(const SplitPath&) = delete;

    uint32_t size() const noexcept { return tokens_ == nullptr ? 0 : count_; }
    std::string_view operator[](uint32_t index) const { return tokens_[index]; }

  private:
    uint32_t count_ = 0;
    char** tokens_;
};

}  // namespace

CAppRule::CAppRule() : content_(std::make_unique<RuleContent>()) {
    init_rule_store();
}

CAppRule::~CAppRule() = default;

int32_t CAppRule::init_rule_store() {
    char directory[ORVU_PATH_CAPACITY] = {};
    orvu_path_get_cur_proc_a(directory, sizeof directory);
    orvu_path_directory(directory, directory, sizeof directory);
    directory[sizeof directory - 1] = '\0';
    rule_path_file_ = directory;
    rule_path_file_ += "\\kolvessa_rule_path.ejs";
    return 0;
}

int32_t CAppRule::do_all_parsh_json() {
    KOLVESSA_LOG_INFO("start clean all rule library and re-parse all!\n");
    content_->clear();
    if (libraries_.empty()) {
        return 0;
    }

    ClearUnlessBuilt half_built(*content_);
    RuleParser parser(*content_);
    for (const auto& [tag, library] : libraries_) {
        for (int32_t count = 1; count <= load_tries; ++count) {
            const int32_t result = parser.load_library_json(library.path.c_str(), tag);
            if (result == 0) {
                break;
            }
            KOLVESSA_LOG_WARN("load appid library[%s] fail! ret[%d] try count[%d]\n",
                              library.path.c_str(), result, count);
            orvu_msleep(retry_pause_ms);
        }
    }
    if (content_->elements.size() == 0) {
        half_built.keep();
        return 1;
    }
    content_->build();
    half_built.keep();
    return 0;
}

int32_t CAppRule::get_appids_by_category(std::vector<uint32_t>& out, const char* path) const {
    out.clear();
    if (path == nullptr) {
        return 1;
    }
    const SplitPath tokens(path);
    if (tokens.size() < 1) {
        return 1;
    }
    const CategoryTree& categories = content_->categories;
    auto node = categories.find(CategoryTree::root, tokens[0]);
    if (!node) {
        return 2;
    }
    for (uint32_t i = 1; i < tokens.size(); ++i) {
        node = categories.find(*node, tokens[i]);
        if (!node) {
            return 3;
        }
    }
    categories.collect(*node, out);
    return 0;
}

size_t CAppRule::rule_count() const noexcept {
    return content_->elements.size();
}

bool CAppRule::has_path_patterns() const noexcept {
    return content_->path_matcher.has_patterns();
}

}  // namespace kolvessa
