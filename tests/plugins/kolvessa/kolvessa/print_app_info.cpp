// Prints the attributes of files for a test that compares them with other readers': framework paths
// come in one a line; of each file four strings and the icon's hash go out, a unit separator behind
// each, and a record separator behind the file.

#include <iostream>
#include <string>

#include "plugins/kolvessa/kolvessa/app_info.h"
#include "tests/fakehost/fake_host.h"

namespace {

void print(const kolvessa::wide_string& value) {
    std::cout << fakehost::narrow(kolvessa::wide_string(kolvessa::until_nul(value))) << '\x1F';
}

}  // namespace

int main() {
    std::string path;
    while (std::getline(std::cin, path)) {
        kolvessa::AppInfo info;
        kolvessa::read_app_info(fakehost::wide(path).c_str(), false, info);
        print(info.originalname);
        print(info.productname);
        print(info.copyright);
        print(info.description);
        print(info.iconhash);
        std::cout << '\x1E';
    }
    return 0;
}
