#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

#include "ZuObjectPool.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::MemoryWatch;

constexpr std::size_t kPieces = 2000;

// Fills many pieces with this thread's byte and gives those back that nobody
// else has written to; how many were.
std::size_t useMany(ObjectPool& pool, unsigned char mark) {
    std::vector<unsigned char*> pieces(kPieces);
    std::size_t spoilt = 0;
    for (int round = 0; round < 5; ++round) {
        for (unsigned char*& piece : pieces) {
            piece = static_cast<unsigned char*>(pool.take());
            std::fill_n(piece, ObjectPool::kPieceSize, mark);
        }
        for (unsigned char* piece : pieces) {
            spoilt += !std::all_of(piece, piece + ObjectPool::kPieceSize,
                                   [=](unsigned char byte) { return byte == mark; });
            pool.giveBack(piece);
        }
    }
    return spoilt;
}

TEST(ObjectPool, pieces_ofSeveralThreads_areNobodyElses) {
    ObjectPool pool;
    std::array<std::size_t, 4> spoilt{};
    {
        std::vector<std::jthread> threads;
        for (std::size_t& count : spoilt) {
            threads.emplace_back(
                [&] { count = useMany(pool, static_cast<unsigned char>(&count - spoilt.data())); });
        }
    }
    EXPECT_EQ(spoilt, decltype(spoilt){});
    // Four threads' worth lies ready for one.
    const MemoryWatch watch;
    EXPECT_EQ(useMany(pool, 9), 0U);
    EXPECT_LT(watch.peak(), kPieces * ObjectPool::kPieceSize);
}

}  // namespace
}  // namespace zustd
