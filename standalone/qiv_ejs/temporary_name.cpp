#include <cstdio>
#include <random>

#include "standalone/qiv_ejs/whole_file.h"

namespace orvu::ejs {

std::string temporary_name() {
    std::random_device device;  // the system's generator on both systems
    char name[32];
    (void)std::snprintf(name, sizeof name, ".ejs-%08x%08x", device(), device());
    return name;
}

}  // namespace orvu::ejs
