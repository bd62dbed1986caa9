#include "plugins/kolvessa/kolvessa/app_info.h"

#include <array>
#include <memory>
#include <optional>

#include "orvubase.h"
#include "plugins/kolvessa/kolvessa/icon_hash.h"
#include "plugins/kolvessa/kolvessa/version_info.h"
#include "plugins/kolvessa/platform/executable_file.h"
#include "sigcheck.h"

namespace kolvessa {

namespace {

constexpr uint32_t SIGNER_CAPACITY = 200;
constexpr size_t HASH_TEXT_SIZE = 33;

struct free_host_text {
    void operator()(orvu_wchar* text) const { orvu_str_free(text); }
};

bool read_version(VersionInfoReader& reader, platform::ExecutableFile& file, AppInfo& info) {
    if (version_info_open(reader, file) != 0) {
        return false;
    }
    // A string that isn't there leaves its field empty.
    version_info_query(reader, ORVU_TEXT("OriginalFilename"), info.originalname);
    version_info_query(reader, ORVU_TEXT("ProductName"), info.productname);
    version_info_query(reader, ORVU_TEXT("LegalCopyright"), info.copyright);
    version_info_query(reader, ORVU_TEXT("FileDescription"), info.description);
    return true;
}

bool read_icon(platform::ExecutableFile& file, AppInfo& info) {
    std::array<char, HASH_TEXT_SIZE> text{};
    if (calc_icon_hash(file, text.data()) != 0) {
        return false;
    }
    const std::unique_ptr<orvu_wchar, free_host_text> wide(orvu_str_ansi_to_unicode(text.data()));
    if (!wide) {
        return false;
    }
    info.iconhash = wide.get();
    return true;
}

bool name_from_path(const orvu_wchar* path, AppInfo& info) {
    if (const orvu_wchar* slash = orvu_wcsrchr(path, '\\')) {
        info.originalname = slash + 1;
        return true;
    }
    info.originalname = path;
    return *path != 0;
}

bool read_signer(const orvu_wchar* path, AppInfo& info) {
    std::array<orvu_wchar, SIGNER_CAPACITY> name{};
    if (qiv_get_file_sign_w(path, name.data(), SIGNER_CAPACITY) != 0) {
        return false;
    }
    info.signer = until_nul({name.data(), name.size()});
    return true;
}

}  // namespace

bool read_app_info(const orvu_wchar* path, bool want_procpath, AppInfo& info) {
    static const orvu_wchar nothing[] = {0};
    if (path == nullptr) {
        path = nothing;
    }
    VersionInfoReader reader;
    // Version and icon come from one opening of the file, which ends before the signer reads it.
    std::optional<platform::ExecutableFile> file(std::in_place, path);
    bool any = read_version(reader, *file, info);
    any |= read_icon(*file, info);
    file.reset();
    if (info.originalname.empty()) {
        any |= name_from_path(path, info);
    }
    any |= read_signer(path, info);
    if (want_procpath) {
        any = true;
        info.procpath = path;
    }
    return any;
}

}  // namespace kolvessa
