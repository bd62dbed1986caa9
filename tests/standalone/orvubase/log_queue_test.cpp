// The queue keeps order, adds only the line end that is missing, and refuses what does not fit.

#include "standalone/orvubase/log_queue.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(LogQueue, lines_come_out_in_order_with_a_line_end_each) {
    orvu::LogQueue queue;
    EXPECT_TRUE(queue.put("one"));
    EXPECT_TRUE(queue.put("two\n"));
    EXPECT_TRUE(queue.put(""));
    EXPECT_TRUE(queue.put("four\n "));
    orvu::LogBatch batch;
    queue.take(batch);
    ASSERT_EQ(batch.size(), 4U);
    EXPECT_EQ(batch[0], "one\n");
    EXPECT_EQ(batch[1], "two\n");
    EXPECT_EQ(batch[2], "\n");
    EXPECT_EQ(batch[3], "four\n \n");
    queue.take(batch);
    EXPECT_EQ(batch.size(), 0U);
}

TEST(LogQueue, the_number_of_lines_is_bounded_and_taking_them_makes_room) {
    orvu::LogQueue queue;
    for (size_t i = 0; i < orvu::LOG_QUEUE_LINES; ++i) {
        ASSERT_TRUE(queue.put("x"));
    }
    EXPECT_FALSE(queue.put("x"));
    EXPECT_FALSE(queue.put(""));
    orvu::LogBatch batch;
    queue.take(batch);
    EXPECT_EQ(batch.size(), orvu::LOG_QUEUE_LINES);
    EXPECT_TRUE(queue.put("x"));
}

TEST(LogQueue, the_number_of_bytes_is_bounded_and_a_shorter_line_still_fits) {
    orvu::LogQueue queue;
    EXPECT_TRUE(queue.put(std::string(orvu::LOG_QUEUE_BYTES - 4, 'x')));
    EXPECT_FALSE(queue.put("abc"));
    EXPECT_TRUE(queue.put("ab"));
    orvu::LogBatch batch;
    ASSERT_TRUE(queue.try_take(batch));
    ASSERT_EQ(batch.size(), 2U);
    EXPECT_EQ(batch[1], "ab\n");
}

}  // namespace
