#include "ZuMessaging.h"

#include <algorithm>
#include <array>

#include "ZuPlankton.h"
#include "ZuText.h"

namespace zustd {

// --- MessageKind ---------------------------------------------------------------------

constinit std::uint64_t MessageKind::compactMsgCounter_ = 0;
constinit MessageKind* MessageKind::newest_ = nullptr;

MessageKind::MessageKind(const wchar_t* name, MessageWords words) : name_(name), words_(words) {
    const std::uint64_t next = compactMsgCounter_ + 1;
    ZU_ASSERT_AS(next < 0x8000, L"compactMsgCounter_ > 0 && compactMsgCounter_ < 0x8000", ZU_HERE);
    compactId_ = formatWide(L"%0*llX", 4, next);
    compactMsgCounter_ = next;
    older_ = newest_;
    newest_ = this;
}

MessageKind::~MessageKind() {
    MessageKind** link = &newest_;
    while (*link != this) {
        link = &(*link)->older_;
    }
    *link = older_;
}

const MessageKind* MessageKind::find(std::wstring_view name) noexcept {
    const MessageKind* kind = newest_;
    while (kind != nullptr && kind->name_ != name) {
        kind = kind->older_;
    }
    return kind;
}

// --- MessageSink -----------------------------------------------------------------------

void MessageSink::receiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (wants(kind, a, b)) {
        guarded(L"receiveMessage::receiveMessage: tried onReceiveMessage() and failed",
                [&] { onReceiveMessage(kind, a, b); });
    }
}

bool MessageSink::wantsMessage(const MessageKind& kind, MessageWord a, MessageWord b) const {
    return acceptsMessage(kind) && (!isRestricted() || meetsRestriction(kind, a, b));
}

bool MessageSink::wants(const MessageKind& kind, MessageWord a, MessageWord b) const noexcept {
    return guarded(ZU_SIBLING(wantsMessage), false, [&] { return wantsMessage(kind, a, b); });
}

// --- MessageSource ------------------------------------------------------------------------

namespace {

template <class Entries>
auto findSink(Entries& entries, const MessageSink* sink) {
    return std::find_if(entries.begin(), entries.end(),
                        [sink](const auto& entry) { return entry.is(sink); });
}

}  // namespace

// One running round of delivery, linked to the round that it runs inside of. It
// learns of every entry that leaves the lists, so that it keeps its place in
// them, and of the end of its source.
class MessageSource::Delivery {
public:
    explicit Delivery(MessageSource& source) noexcept : source_(&source), outer_(source.delivery_) {
        source.delivery_ = this;
    }
    Delivery& operator=(Delivery&&) = delete;
    ~Delivery() {
        if (source_ != nullptr) {
            source_->delivery_ = outer_;
        }
    }

    bool isSourceGone() const noexcept { return source_ == nullptr; }
    Delivery* outer() const noexcept { return outer_; }

    // The next sink that is to have the message; null after the last one and
    // when the source is gone. It lives until it has returned.
    MessageSink* next();
    // A reference to the sink that next() gave.
    std::shared_ptr<MessageSink> current() const {
        return kept_ ? kept_ : source_->strongSinks_[reached_[kStrong] - 1].lock();
    }

    // An entry has left one of the lists.
    void entryLeft(List list, std::size_t index, const std::shared_ptr<MessageSink>& sink) noexcept;
    // Its entries have left before.
    void sourceIsGone() noexcept { source_ = nullptr; }

private:
    MessageSource* source_;
    Delivery* outer_;
    // How many entries of each list the round has come past, and where it is.
    std::array<std::size_t, 2> reached_{};
    List at_ = kStrong;
    // The sink that is being called, and what keeps it alive when the list of
    // strong sinks does not.
    MessageSink* called_ = nullptr;
    std::shared_ptr<MessageSink> kept_;
    // Those that the round had come past when they were disconnected: who is
    // connected anew shall not have the message twice.
    std::vector<WeakSink> left_;
};

inline MessageSink* MessageSource::Delivery::next() {
    do {
        called_ = nullptr;
        // A sink that goes away here may end the source.
        kept_.reset();
        if (source_ == nullptr) {
            return nullptr;
        }
        if (at_ == kStrong && reached_[kStrong] < source_->strongSinks_.size()) {
            called_ = source_->strongSinks_[reached_[kStrong]++].get();
        } else if (reached_[kWeak] < source_->weakSinks_.size()) {
            at_ = kWeak;
            kept_ = source_->weakSinks_[reached_[kWeak]++].lock();
            called_ = kept_.get();
        } else {
            return nullptr;
        }
    } while (called_ == nullptr || findSink(left_, called_) != left_.end());
    return called_;
}

void MessageSource::Delivery::entryLeft(List list, std::size_t index,
                                        const std::shared_ptr<MessageSink>& sink) noexcept {
    if (sink.get() == called_) {
        kept_ = sink;
    }
    if (index < reached_[list]) {
        --reached_[list];
        guarded(ZU_OPERATION, [&] { left_.emplace_back(sink); });
    }
}

MessageSource::~MessageSource() {
    MessageSource::disconnectAll();
    for (Delivery* delivery = delivery_; delivery != nullptr; delivery = delivery->outer()) {
        delivery->sourceIsGone();
    }
}

void MessageSource::connect(const std::shared_ptr<MessageSink>& sink, bool weak) {
    if (!sink || MessageSource::isConnected(sink.get())) {
        return;
    }
    if (!weak) {
        strongSinks_.emplace_back(sink);
        return;
    }
    if (delivery_ == nullptr && weakSinks_.size() == weakSinks_.capacity()) {
        std::erase_if(weakSinks_, [](const auto& entry) { return entry.expired(); });
    }
    weakSinks_.emplace_back(sink);
}

void MessageSource::disconnect(const MessageSink* sink) {
    // Let go of last: a sink that goes away may come back to this source, or end it.
    std::shared_ptr<MessageSink> released;
    const auto remove = [&](auto& entries, List list) {
        if (const auto entry = findSink(entries, sink); entry != entries.end()) {
            released = entry->lock();
            const auto next = entries.erase(entry);
            entryLeft(list, static_cast<std::size_t>(next - entries.begin()), released);
        }
    };
    remove(strongSinks_, kStrong);
    remove(weakSinks_, kWeak);
}

void MessageSource::disconnectAll() {
    // Moved out first: a sink that goes away may come back to this source.
    const auto strong = std::exchange(strongSinks_, {});
    const auto weak = std::exchange(weakSinks_, {});
    const auto tell = [this](const auto& entries, List list) {
        for (std::size_t i = entries.size(); i-- > 0;) {
            entryLeft(list, i, entries[i].lock());
        }
    };
    tell(strong, kStrong);
    tell(weak, kWeak);
}

void MessageSource::entryLeft(List list, std::size_t index,
                              const std::shared_ptr<MessageSink>& sink) noexcept {
    for (Delivery* delivery = delivery_; delivery != nullptr; delivery = delivery->outer()) {
        delivery->entryLeft(list, index, sink);
    }
}

bool MessageSource::sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (!isSendingEnabled() || !maySend(kind, a, b)) {
        return false;
    }
    Delivery delivery(*this);
    while (MessageSink* sink = delivery.next()) {
        if (isDeliveryDeferred()) {
            deferDelivery(kind, a, b, delivery.current());
        } else {
            guarded(ZU_OPERATION, [&] { sink->receiveMessage(kind, a, b); });
        }
    }
    return true;
}

bool MessageSource::sendText(const MessageKind& kind, const std::wstring& text) {
    return sendMessage(kind, MessageWord::ofText(text), MessageWord());
}

bool MessageSource::isConnected(const MessageSink* sink) const {
    return findSink(strongSinks_, sink) != strongSinks_.end() ||
           findSink(weakSinks_, sink) != weakSinks_.end();
}

void MessageSource::deferDelivery(const MessageKind&, MessageWord, MessageWord,
                                  const std::shared_ptr<MessageSink>&) {
    ZU_ASSERT_AS(false, L"deferDelivery", ZU_HERE);
}

bool MessageSource::outlives(const std::function<void()>& body) {
    const Delivery watch(*this);
    body();
    return !watch.isSourceGone();
}

// --- MessageForwarder ------------------------------------------------------------------------

void MessageForwarder::receiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (!wants(kind, a, b)) {
        return;
    }
    const bool wasForwarding = isForwarding();
    setForwarding(true);
    const bool handled =
        guarded(L"MessageForwarder::receiveMessage: tried onReceiveMessage() and failed", false,
                [&] { return onReceiveMessage(kind, a, b); });
    if (!handled) {
        guarded(L"MessageForwarder::receiveMessage: tried sendMessage() and failed",
                [&] { sendMessage(kind, a, b); });
    }
    setForwarding(wasForwarding);
}

}  // namespace zustd
