// The store gives consistent answers while several threads change it.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "standalone/orvu_core/memory_relation_store.h"

namespace orvu {
namespace {

TEST(MemoryRelationStoreConcurrent, readers_and_writers_do_not_disturb_each_other) {
    MemoryRelationStore store;
    const wide_string path(10, static_cast<orvu_wchar>('p'));
    std::vector<std::thread> threads;
    for (uint64_t writer = 1; writer <= 3; ++writer) {
        threads.emplace_back([&store, &path, writer] {
            for (uint32_t i = 0; i < 300; ++i) {
                const uint64_t pid = writer * 1000 + i;
                ASSERT_EQ(store.add(pid, i, true, path, "tag"), StoreResult::ok);
                ASSERT_EQ(store.inherit(pid + 100000, pid), StoreResult::ok);
                if (i % 2 == 0) {
                    ASSERT_EQ(store.forget_pid(pid), StoreResult::ok);
                }
                if (i % 50 == 0) {
                    store.clear_paths();
                }
            }
        });
    }
    threads.emplace_back([&store] {
        std::vector<unsigned char> pids(9 * 2000);
        std::vector<unsigned char> paths(520 * 10);
        for (int i = 0; i < 100; ++i) {
            EXPECT_LE(store.pack_pids(pids.data(), 2000), 1800U);
            EXPECT_LE(store.pack_paths(paths.data(), 10), 1U);
            store.pids();
            store.paths();
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(store.pack_pids(nullptr, 0), 3U * (300 + 150));
}

}  // namespace
}  // namespace orvu
