#include "ZuObjectPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <span>
#include <thread>
#include <vector>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

TEST(ObjectPool, pieces_ofSeveralThreads_areNobodyElses) {
    constexpr std::size_t kPieces = 2000;
    ObjectPool pool;
    // Fills many pieces with a byte and counts those that somebody else has written to.
    const auto useMany = [&](unsigned char mark, std::size_t& spoilt) {
        std::vector<unsigned char*> pieces(kPieces);
        for (int round = 0; round < 5; ++round) {
            for (unsigned char*& piece : pieces) {
                piece = static_cast<unsigned char*>(pool.take());
                std::fill_n(piece, ObjectPool::kPieceSize, mark);
            }
            for (unsigned char* piece : pieces) {
                const std::span bytes(piece, ObjectPool::kPieceSize);
                spoilt += std::count(bytes.begin(), bytes.end(), mark) != std::ssize(bytes);
                pool.giveBack(piece);
            }
        }
    };
    std::array<std::size_t, 5> spoilt{};
    {
        std::vector<std::jthread> threads;
        for (unsigned char i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] { useMany(i, spoilt[i]); });
        }
    }
    // Four threads' worth lies ready for one.
    const test::MemoryWatch watch;
    useMany(9, spoilt[4]);
    EXPECT_LT(watch.peak(), kPieces * ObjectPool::kPieceSize);
    EXPECT_EQ(spoilt, decltype(spoilt){});
}

}  // namespace
}  // namespace zustd
