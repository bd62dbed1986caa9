#include "standalone/orvubase/core/path_map.h"

#include <windows.h>

#include <algorithm>

#include "standalone/orvubase/core/utf.h"

namespace orvu {

namespace {

constexpr size_t PATH_LIMIT = 32767;

}  // namespace

std::optional<std::string> path_to_native(std::string_view framework) {
    if (framework.empty() || framework.size() > PATH_LIMIT ||
        framework.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    return path_from_native(framework);
}

std::string path_from_native(std::string_view native) {
    std::string framework(native);
    std::replace(framework.begin(), framework.end(), '/', '\\');
    return framework;
}

std::optional<std::string> path_find(std::string_view framework) {
    std::optional<std::string> native = path_to_native(framework);
    if (!native) {
        return std::nullopt;
    }
    const std::optional<WString> wide = utf8_to_wide(*native);
    if (!wide || GetFileAttributesW(wide->c_str()) == INVALID_FILE_ATTRIBUTES) {
        return std::nullopt;
    }
    return native;
}

std::optional<std::string> path_resolve(std::string_view framework) {
    return path_to_native(framework);
}

}  // namespace orvu
