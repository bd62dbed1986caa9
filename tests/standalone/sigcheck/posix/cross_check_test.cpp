// What is answered for a file equals what an independent tool prints for it.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>

#include "tests/standalone/sigcheck/signed_files.h"

namespace orvu::sigcheck::tests {
namespace {

std::string output_of(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), &::pclose);
    std::string out;
    std::array<char, 4096> buffer;
    while (pipe && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr)
        out += buffer.data();
    return out;
}

std::string after(const std::string& text, const std::string& mark, const std::string& end,
                  size_t from = 0) {
    const size_t at = text.find(mark, from);
    if (at == std::string::npos)
        return {};
    const size_t begin = at + mark.size();
    return text.substr(begin, text.find(end, begin) - begin);
}

// The tool prints bytes beyond ASCII as \xHH, wide strings unit by unit.
std::string unescaped(const std::string& text) {
    std::string out;
    for (size_t at = 0; at < text.size(); at++) {
        if (text.compare(at, 2, "\\x") == 0) {
            out += static_cast<char>(std::stoi(text.substr(at + 2, 2), nullptr, 16));
            at += 3;
        } else {
            out += text[at];
        }
    }
    return out;
}

struct tool_answer {
    bool signed_at_all = false;
    bool digest_matches = false;
    std::string signer;
};

tool_answer ask_tool(const std::string& path) {
    const std::string out = output_of("osslsigncode verify -in '" + path + "' 2>&1");
    tool_answer answer;
    answer.signed_at_all = out.find("Calculated message digest") != std::string::npos;
    const std::string stated = after(out, "Current message digest    : ", "\n");
    const std::string computed = after(out, "Calculated message digest : ", "\n");
    answer.digest_matches =
        !stated.empty() &&
        stated.substr(0, stated.find(' ')) == computed.substr(0, computed.find(' ')) &&
        out.find("MISMATCH") == std::string::npos;
    const size_t signer = out.find("Signer's certificate:");
    const std::string subject = after(out, "Subject: ", "\n", signer) + "/";
    for (const char* field : {"/CN=", "/OU=", "/O="}) {
        answer.signer = unescaped(after(subject, field, "/"));
        if (!answer.signer.empty())
            break;
    }
    return answer;
}

class CrossCheck : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(sigcheck_set_trust(SIGCHECK_TRUST_NONE, nullptr), 0); }
};

TEST_F(CrossCheck, the_signer_of_every_intact_fixture_is_the_one_that_the_tool_prints) {
    int compared = 0;
    for (const signed_file& file : signed_files()) {
        if (file.state != SIGCHECK_OK)
            continue;
        // The tool prints these strings unit by unit, and reads no table of several entries.
        if (file.name == "bmp.exe" || file.name == "t61.exe" || file.name == "two_entries.exe" ||
            file.name == "two_entries_swapped.exe" || file.name == "x509_entry_first.exe")
            continue;
        const tool_answer tool = ask_tool(fixture(file.name));
        EXPECT_TRUE(tool.digest_matches) << file.name;
        EXPECT_EQ(signer(query(fixture(file.name))), tool.signer) << file.name;
        compared++;
    }
    EXPECT_GE(compared, 20);
}

TEST_F(CrossCheck, a_digest_that_the_tool_finds_wrong_is_found_wrong) {
    for (const char* name : {"flipped_code.exe", "flipped_header.exe", "grafted.exe"}) {
        const tool_answer tool = ask_tool(fixture(name));
        EXPECT_TRUE(tool.signed_at_all) << name;
        EXPECT_FALSE(tool.digest_matches) << name;
        EXPECT_EQ(query(fixture(name)).state, SIGCHECK_BROKEN) << name;
    }
}

// The tool refuses a table of several entries; the same file with the first alone it reads. The
// digest leaves out the table, so both have the same.
std::string with_first_entry_alone(const std::string& path, const OwnFolder& folder) {
    std::vector<uint8_t> data = read_bytes(path);
    const auto u32 = [&](size_t at) {
        return uint32_t{data.at(at)} | uint32_t{data.at(at + 1)} << 8 |
               uint32_t{data.at(at + 2)} << 16 | uint32_t{data.at(at + 3)} << 24;
    };
    const size_t optional = u32(60) + 24;
    const size_t entry = optional + (data.at(optional + 1) == 0x02 ? 144 : 128);
    const size_t table = u32(entry);
    if (table == 0)
        return path;
    const size_t size = (u32(table) + 7) / 8 * 8;
    if (size == u32(entry + 4))
        return path;
    for (size_t i = 0; i < 4; i++)
        data.at(entry + 4 + i) = static_cast<uint8_t>(size >> (8 * i));
    data.resize(table + size);
    const std::string alone = folder.path("alone.efi");
    write_bytes(alone, data);
    return alone;
}

TEST_F(CrossCheck, pe_files_that_others_made_have_the_signer_that_the_tool_prints) {
    const std::string root = ORVU_REAL_PE;
    std::ifstream list(root + "/list.txt");
    ASSERT_TRUE(list.is_open()) << root;
    const OwnFolder folder;
    int with_signer = 0;
    int without = 0;
    std::string name;
    while (std::getline(list, name)) {
        const std::string path = root + "/" + name;
        const sigcheck_facts facts = query(path);
        const tool_answer tool = ask_tool(with_first_entry_alone(path, folder));
        EXPECT_EQ(facts.state == SIGCHECK_OK, tool.signed_at_all && tool.digest_matches) << name;
        if (tool.signed_at_all) {
            EXPECT_EQ(signer(facts), tool.signer) << name;
            with_signer++;
        } else {
            EXPECT_EQ(facts.state, SIGCHECK_NOT_SIGNED) << name;
            without++;
        }
    }
    EXPECT_GE(with_signer, 6);  // shim, four of grub, fwupd
    EXPECT_GE(without, 20);
}

}  // namespace
}  // namespace orvu::sigcheck::tests
