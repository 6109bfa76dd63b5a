#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "ZuObjectPool.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::MemoryWatch;

// Takes many pieces, fills each with this thread's byte and gives back those
// that nobody else has written to; how many were not.
std::size_t useMany(ObjectPool& pool, unsigned char mark) {
    std::vector<unsigned char*> pieces(2000);
    std::size_t spoilt = 0;
    for (int round = 0; round < 5; ++round) {
        for (unsigned char*& piece : pieces) {
            piece = static_cast<unsigned char*>(pool.take());
            std::fill_n(piece, ObjectPool::kPieceSize, mark);
        }
        for (unsigned char* piece : pieces) {
            spoilt += std::count(piece, piece + ObjectPool::kPieceSize, mark) !=
                      static_cast<std::ptrdiff_t>(ObjectPool::kPieceSize);
            pool.giveBack(piece);
        }
    }
    return spoilt;
}

TEST(ObjectPool, pieces_ofSeveralThreads_areNobodyElses) {
    ObjectPool pool;
    std::vector<std::size_t> spoilt(4);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < spoilt.size(); ++i) {
        threads.emplace_back(
            [&pool, &spoilt, i] { spoilt[i] = useMany(pool, static_cast<unsigned char>(i + 1)); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(spoilt, std::vector<std::size_t>(4));
    // Four threads' worth lies ready for one.
    const MemoryWatch watch;
    EXPECT_EQ(useMany(pool, 9), 0U);
    EXPECT_LT(watch.peak(), 2000 * ObjectPool::kPieceSize);
}

}  // namespace
}  // namespace zustd
