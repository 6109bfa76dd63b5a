#include "ZuId.h"

#include <atomic>

#include "ZuText.h"

namespace zustd {

namespace {
constinit std::atomic<std::uint64_t> lastId{0};
}  // namespace

Id::Id() noexcept : id_(lastId.fetch_add(1, std::memory_order_relaxed) + 1) {}

std::wstring Id::idText() const {
    return formatWide(L"%0*llX", 16, static_cast<unsigned long long>(id_));
}

}  // namespace zustd
