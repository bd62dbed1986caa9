// The store keeps what it was told, packs it byte for byte, and stays within its bounds.
#include "standalone/orvu_core/memory_relation_store.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "standalone/orvubase/core/utf.h"

namespace orvu {
namespace {

wide_string wide(const char* text) {
    return utf8_to_wide(text).value();
}

std::string show(const std::vector<PidRelation>& relations) {
    std::string text;
    for (const PidRelation& one : relations) {
        text += std::to_string(one.pid) + ":" + std::to_string(one.appid) +
                (one.inherit ? "+" : "-") + one.tag + " ";
    }
    return text;
}

std::string show(const std::vector<PathRelation>& relations) {
    std::string text;
    for (const PathRelation& one : relations) {
        text += show_utf8(one.path) + ":" + std::to_string(one.appid) + (one.inherit ? "+" : "-") +
                one.tag + " ";
    }
    return text;
}

TEST(MemoryRelationStore, a_relation_with_pid_and_path_is_kept_under_both) {
    MemoryRelationStore store;
    EXPECT_EQ(store.add(5, 20, true, wide("Z:\\b"), "default"), StoreResult::ok);
    EXPECT_EQ(store.add(5, 10, false, wide("Z:\\b"), "x"), StoreResult::ok);
    EXPECT_EQ(store.add(3, 10, false, wide("Z:\\a"), "x"), StoreResult::ok);
    EXPECT_EQ(show(store.pids()), "3:10-x 5:10-x 5:20+default ");
    EXPECT_EQ(show(store.paths()), "Z:\\a:10-x Z:\\b:10-x Z:\\b:20+default ");
    EXPECT_EQ(show(store.pids_of(5)), "5:10-x 5:20+default ");
    EXPECT_EQ(show(store.pids_of(4)), "");
    EXPECT_EQ(show(store.paths_of(wide("Z:\\a"))), "Z:\\a:10-x ");
    EXPECT_EQ(show(store.paths_of(wide("z:\\a"))), "");
}

TEST(MemoryRelationStore, pid_zero_records_the_path_alone_and_no_path_the_pid_alone) {
    MemoryRelationStore store;
    EXPECT_EQ(store.add(0, 1, false, wide("p"), ""), StoreResult::ok);
    EXPECT_EQ(store.add(9, 2, false, {}, ""), StoreResult::ok);
    EXPECT_EQ(show(store.pids()), "9:2- ");
    EXPECT_EQ(show(store.paths()), "p:1- ");
    EXPECT_EQ(store.add(0, 1, false, {}, ""), StoreResult::invalid);
}

TEST(MemoryRelationStore, the_same_relation_again_updates_it) {
    MemoryRelationStore store;
    store.add(5, 20, true, wide("p"), "old");
    EXPECT_EQ(store.add(5, 20, false, wide("p"), "new"), StoreResult::ok);
    EXPECT_EQ(show(store.pids()), "5:20-new ");
    EXPECT_EQ(show(store.paths()), "p:20-new ");
    EXPECT_EQ(store.pack_pids(nullptr, 0), 1U);
    EXPECT_EQ(store.pack_paths(nullptr, 0), 1U);
}

TEST(MemoryRelationStore, a_child_takes_over_the_inheritable_relations_only) {
    MemoryRelationStore store;
    store.add(1, 10, true, wide("p"), "t");
    store.add(1, 11, false, wide("p"), "t");
    EXPECT_EQ(store.inherit(2, 1), StoreResult::ok);
    EXPECT_EQ(show(store.pids_of(2)), "2:10+t ");
    EXPECT_EQ(store.inherit(3, 2), StoreResult::ok) << "chains go on";
    EXPECT_EQ(show(store.pids_of(3)), "3:10+t ");
    EXPECT_EQ(show(store.paths()), "p:10+t p:11-t ") << "a child adds no path";
    EXPECT_EQ(store.inherit(2, 1), StoreResult::ok) << "taken over before is taken over";
    EXPECT_EQ(store.pack_pids(nullptr, 0), 4U);
}

TEST(MemoryRelationStore, a_parent_without_inheritable_relations_gives_nothing) {
    MemoryRelationStore store;
    store.add(1, 11, false, {}, "t");
    EXPECT_EQ(store.inherit(2, 1), StoreResult::nothing);
    EXPECT_EQ(store.inherit(2, 77), StoreResult::nothing);
    EXPECT_EQ(store.inherit(0, 1), StoreResult::invalid);
    EXPECT_EQ(show(store.pids_of(2)), "");
}

TEST(MemoryRelationStore, an_inherited_relation_does_not_replace_an_own_one) {
    MemoryRelationStore store;
    store.add(1, 10, true, {}, "parent");
    store.add(2, 10, false, {}, "own");
    EXPECT_EQ(store.inherit(2, 1), StoreResult::ok);
    EXPECT_EQ(show(store.pids_of(2)), "2:10-own ");
    EXPECT_EQ(store.inherit(1, 1), StoreResult::ok);
    EXPECT_EQ(show(store.pids_of(1)), "1:10+parent ");
}

TEST(MemoryRelationStore, pid_relations_pack_into_nine_bytes_each) {
    MemoryRelationStore store;
    store.add(0x01020304, 0xA1B2C3D4, true, {}, "");
    store.add(0x01020305, 0, false, {}, "");
    unsigned char buffer[20];
    std::memset(buffer, 0xEE, sizeof buffer);
    EXPECT_EQ(store.pack_pids(buffer, 2), 2U);
    const unsigned char expected[20] = {4, 3, 2, 1, 0xD4, 0xC3, 0xB2, 0xA1, 1,    5,
                                        3, 2, 1, 0, 0,    0,    0,    0,    0xEE, 0xEE};
    EXPECT_EQ(std::memcmp(buffer, expected, sizeof buffer), 0);
}

TEST(MemoryRelationStore, distinct_paths_pack_into_520_bytes_each) {
    MemoryRelationStore store;
    const wide_string longest(RelationStore::kMaxPath, static_cast<orvu_wchar>('x'));
    store.add(0, 1, false, wide("b"), "");
    store.add(0, 2, false, wide("b"), "");
    store.add(0, 1, false, longest, "");
    std::vector<unsigned char> buffer(2 * 520 + 8, 0xEE);
    EXPECT_EQ(store.pack_paths(nullptr, 0), 2U);
    EXPECT_EQ(store.pack_paths(buffer.data(), 2), 2U);
    std::vector<unsigned char> expected(2 * 520 + 8, 0);
    expected[0] = 'b';
    for (size_t i = 0; i < RelationStore::kMaxPath; ++i) {
        expected[520 + 2 * i] = 'x';
    }
    std::fill(expected.end() - 8, expected.end(), 0xEE);
    EXPECT_EQ(buffer, expected);
}

TEST(MemoryRelationStore, never_more_is_packed_than_the_capacity_says) {
    MemoryRelationStore store;
    for (uint32_t i = 1; i <= 5; ++i) {
        store.add(i, i, false, wide(std::string("p").append(std::to_string(i)).c_str()), "");
    }
    std::vector<unsigned char> pids(2 * 9 + 1, 0xEE);
    EXPECT_EQ(store.pack_pids(pids.data(), 2), 2U);
    EXPECT_EQ(pids.back(), 0xEE);
    std::vector<unsigned char> paths(2 * 520 + 1, 0xEE);
    EXPECT_EQ(store.pack_paths(paths.data(), 2), 2U);
    EXPECT_EQ(paths.back(), 0xEE);
    EXPECT_EQ(store.pack_pids(pids.data(), 0), 0U);
    std::vector<unsigned char> roomy(9 * 9, 0xEE);
    EXPECT_EQ(store.pack_pids(roomy.data(), 9), 5U);
    EXPECT_EQ(roomy[9 * 5], 0xEE);
}

TEST(MemoryRelationStore, unidentified_paths_are_kept_once) {
    MemoryRelationStore store;
    EXPECT_EQ(store.add_unidentified(wide("b")), StoreResult::ok);
    EXPECT_EQ(store.add_unidentified(wide("a")), StoreResult::ok);
    EXPECT_EQ(store.add_unidentified(wide("b")), StoreResult::ok);
    EXPECT_EQ(store.unidentified(), (std::vector<wide_string>{wide("a"), wide("b")}));
    EXPECT_EQ(store.add_unidentified({}), StoreResult::invalid);
}

TEST(MemoryRelationStore, setting_a_version_tells_the_one_before) {
    MemoryRelationStore store;
    uint64_t previous = 99;
    EXPECT_EQ(store.set_version("default", 7, &previous), StoreResult::ok);
    EXPECT_EQ(previous, 0U);
    EXPECT_EQ(store.set_version("default", 0xFFFFFFFFFFFFFFFF, &previous), StoreResult::ok);
    EXPECT_EQ(previous, 7U);
    EXPECT_EQ(store.set_version("a", 1, &previous), StoreResult::ok);
    EXPECT_EQ(previous, 0U);
    const std::vector<LibraryVersion> versions = store.versions();
    ASSERT_EQ(versions.size(), 2U);
    EXPECT_EQ(versions[0].tag, "a");
    EXPECT_EQ(versions[1].version, 0xFFFFFFFFFFFFFFFF);
}

TEST(MemoryRelationStore, clearing_the_paths_leaves_the_rest) {
    MemoryRelationStore store;
    store.add(5, 1, false, wide("p"), "");
    store.add_unidentified(wide("u"));
    store.clear_paths();
    EXPECT_EQ(show(store.paths()), "");
    EXPECT_EQ(store.pack_paths(nullptr, 0), 0U);
    EXPECT_EQ(show(store.pids()), "5:1- ");
    EXPECT_EQ(store.unidentified().size(), 1U);
}

TEST(MemoryRelationStore, a_pid_and_a_path_can_be_forgotten) {
    MemoryRelationStore store;
    store.add(5, 1, false, wide("p"), "");
    store.add(5, 2, false, wide("p"), "");
    store.add_unidentified(wide("p"));
    EXPECT_EQ(store.forget_pid(5), StoreResult::ok);
    EXPECT_EQ(store.forget_pid(5), StoreResult::nothing);
    EXPECT_EQ(store.pack_pids(nullptr, 0), 0U);
    EXPECT_EQ(store.forget_path(wide("p")), StoreResult::ok);
    EXPECT_EQ(store.forget_path(wide("p")), StoreResult::nothing);
    EXPECT_TRUE(store.paths().empty());
    EXPECT_TRUE(store.unidentified().empty());
}

TEST(MemoryRelationStore, what_is_too_long_is_refused) {
    MemoryRelationStore store;
    const wide_string long_path(RelationStore::kMaxPath + 1, static_cast<orvu_wchar>('x'));
    const std::string long_tag(RelationStore::kMaxTag + 1, 'x');
    uint64_t previous = 0;
    EXPECT_EQ(store.add(5, 1, false, long_path, ""), StoreResult::invalid);
    EXPECT_EQ(store.add(5, 1, false, {}, long_tag), StoreResult::invalid);
    EXPECT_EQ(store.add_unidentified(long_path), StoreResult::invalid);
    EXPECT_EQ(store.set_version(long_tag, 1, &previous), StoreResult::invalid);
    EXPECT_TRUE(store.pids().empty());
}

TEST(MemoryRelationStore, full_tables_refuse_what_is_new_and_update_what_is_there) {
    MemoryRelationStore store(2, 2);
    EXPECT_EQ(store.add(1, 1, true, wide("a"), "t"), StoreResult::ok);
    EXPECT_EQ(store.add(1, 2, true, wide("b"), "t"), StoreResult::ok);
    EXPECT_EQ(store.add(1, 3, true, {}, "t"), StoreResult::limit);
    EXPECT_EQ(store.add(0, 3, true, wide("a"), "t"), StoreResult::limit);
    EXPECT_EQ(store.add(2, 1, true, wide("a"), "t"), StoreResult::limit);
    EXPECT_EQ(store.inherit(2, 1), StoreResult::limit);
    EXPECT_EQ(store.inherit(1, 1), StoreResult::ok);
    EXPECT_EQ(store.add(1, 1, false, wide("a"), "u"), StoreResult::ok);
    EXPECT_EQ(store.add(1, 1, false, wide("a"), "v"), StoreResult::limit) << "a third tag";
    EXPECT_EQ(show(store.pids()), "1:1-u 1:2+t ");
    EXPECT_EQ(show(store.paths()), "a:1-u b:2+t ");
    EXPECT_EQ(store.add_unidentified(wide("a")), StoreResult::ok);
    EXPECT_EQ(store.add_unidentified(wide("b")), StoreResult::ok);
    EXPECT_EQ(store.add_unidentified(wide("c")), StoreResult::limit);
    EXPECT_EQ(store.add_unidentified(wide("b")), StoreResult::ok);
    uint64_t previous = 0;
    EXPECT_EQ(store.set_version("a", 1, &previous), StoreResult::ok);
    EXPECT_EQ(store.set_version("b", 1, &previous), StoreResult::ok);
    EXPECT_EQ(store.set_version("c", 1, &previous), StoreResult::limit);
    EXPECT_EQ(store.set_version("b", 2, &previous), StoreResult::ok);
    EXPECT_EQ(store.forget_pid(1), StoreResult::ok);
    EXPECT_EQ(store.add(2, 1, true, wide("a"), "t"), StoreResult::ok) << "room again";
}

}  // namespace
}  // namespace orvu
