#include "standalone/orvu/paths.h"

#include "standalone/orvubase/core/path_map.h"
#include "standalone/orvubase/core/utf.h"

namespace orvu {

std::string framework_path(const std::string& native) {
    return utf8_is_valid(native) ? path_from_native(native) : std::string();
}

std::basic_string<orvu_wchar> wide_framework_path(const std::string& native) {
    return utf8_to_wide(framework_path(native)).value_or(WString());
}

}  // namespace orvu
