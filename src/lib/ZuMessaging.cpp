#include "ZuMessaging.h"

#include <algorithm>
#include <utility>

#include "ZuPlankton.h"
#include "ZuText.h"

namespace zustd {

// --- MessageKind ---------------------------------------------------------------------

constinit std::uint64_t MessageKind::compactMsgCounter_ = 0;
constinit MessageKind* MessageKind::newest_ = nullptr;

MessageKind::MessageKind(const wchar_t* name, MessageWords words) : name_(name), words_(words) {
    const std::uint64_t next = compactMsgCounter_ + 1;
    ZU_ASSERT_AS(next > 0 && next < 0x8000,
                 L"compactMsgCounter_ > 0 && compactMsgCounter_ < 0x8000", ZU_HERE);
    compactId_ = formatWide(L"%0*llX", 4, next);
    compactMsgCounter_ = next;
    older_ = newest_;
    newest_ = this;
}

MessageKind::~MessageKind() {
    MessageKind** link = &newest_;
    while (*link != nullptr && *link != this) {
        link = &(*link)->older_;
    }
    if (*link != nullptr) {
        *link = older_;
    }
}

const MessageKind* MessageKind::find(std::wstring_view name) noexcept {
    const MessageKind* kind = newest_;
    while (kind != nullptr && kind->name_ != name) {
        kind = kind->older_;
    }
    return kind;
}

// --- MessageSink -----------------------------------------------------------------------

namespace {

// A filter that fails refuses.
bool wants(const MessageSink& sink, const MessageKind& kind, MessageWord a, MessageWord b) {
    return guarded(L"MessageSink::wantsMessage", false,
                   [&] { return sink.wantsMessage(kind, a, b); });
}

}  // namespace

void MessageSink::receiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (wants(*this, kind, a, b)) {
        guarded(L"receiveMessage::receiveMessage: tried onReceiveMessage() and failed",
                [&] { onReceiveMessage(kind, a, b); });
    }
}

bool MessageSink::onReceiveMessage(const MessageKind&, MessageWord, MessageWord) { return false; }

std::shared_ptr<SharedObject> MessageSink::sinkOwner() const { return {}; }

bool MessageSink::acceptsMessage(const MessageKind&) const { return true; }

bool MessageSink::isRestricted() const { return restricted_; }

void MessageSink::setRestricted(bool restricted) { restricted_ = restricted; }

bool MessageSink::meetsRestriction(const MessageKind&, MessageWord, MessageWord) const {
    return false;
}

bool MessageSink::wantsMessage(const MessageKind& kind, MessageWord a, MessageWord b) const {
    return acceptsMessage(kind) && (!isRestricted() || meetsRestriction(kind, a, b));
}

bool MessageSink::isForwarding() const { return forwarding_; }

void MessageSink::setForwarding(bool forwarding) { forwarding_ = forwarding; }

// --- MessageSource ------------------------------------------------------------------------

namespace {

// Whether an entry of either list is this sink.
auto isStrong(const MessageSink* sink) {
    return [sink](const auto& entry) { return entry.get() == sink; };
}

auto isWeak(const MessageSink* sink) {
    return [sink](const auto& entry) { return entry.is(sink); };
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
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    ~Delivery() {
        if (source_ != nullptr) {
            source_->delivery_ = outer_;
        }
    }

    bool isSourceGone() const noexcept { return source_ == nullptr; }
    Delivery* outer() const noexcept { return outer_; }

    // The next sink that is to have the message; null after the last one and
    // when the source is gone. It lives until it has returned.
    MessageSink* next() {
        // As a rule the lists stay as they are, and hold what is called.
        if (!isPlain_ || reached_[0] == source_->strongSinks_.size()) {
            return nextOfAny();
        }
        MessageSink* const sink = source_->strongSinks_[reached_[0]++].get();
        called_ = sink;
        return sink;
    }
    // A reference to the sink that next() gave.
    std::shared_ptr<MessageSink> current() const {
        return kept_ ? kept_ : source_->strongSinks_[reached_[0] - 1];
    }

    // An entry has left the list of weak sinks, or that of strong ones.
    void entryLeft(bool weak, std::size_t index, const std::shared_ptr<MessageSink>& sink) noexcept;
    // Its entries have left before.
    void sourceIsGone() noexcept { source_ = nullptr; }

private:
    MessageSink* nextOfAny();
    bool hadIt(const MessageSink* sink) const noexcept;

    MessageSource* source_;
    Delivery* outer_;
    // How many entries the round has come past in the strong list and in the
    // weak one, and which of the lists it is at.
    std::size_t reached_[2] = {0, 0};
    bool atWeak_ = false;
    // Whether the round is at the strong ones and nobody has left.
    bool isPlain_ = true;
    // The sink that is being called, and what keeps it alive when the list of
    // strong sinks does not.
    const MessageSink* called_ = nullptr;
    std::shared_ptr<MessageSink> kept_;
    // Those that the round had come past when they were disconnected: who is
    // connected anew shall not have the message twice.
    std::vector<WeakSink> left_;
};

MessageSink* MessageSource::Delivery::nextOfAny() {
    for (;;) {
        called_ = nullptr;
        if (kept_) {
            // A sink that goes away here may end the source.
            kept_.reset();
        }
        if (source_ == nullptr) {
            return nullptr;
        }
        MessageSink* sink = nullptr;
        if (!atWeak_ && reached_[0] < source_->strongSinks_.size()) {
            sink = source_->strongSinks_[reached_[0]++].get();
        } else if (reached_[1] < source_->weakSinks_.size()) {
            atWeak_ = true;
            isPlain_ = false;
            kept_ = source_->weakSinks_[reached_[1]++].lock();
            sink = kept_.get();
        } else {
            return nullptr;
        }
        if (sink != nullptr && (left_.empty() || !hadIt(sink))) {
            called_ = sink;
            return sink;
        }
    }
}

bool MessageSource::Delivery::hadIt(const MessageSink* sink) const noexcept {
    return std::any_of(left_.begin(), left_.end(), isWeak(sink));
}

void MessageSource::Delivery::entryLeft(bool weak, std::size_t index,
                                        const std::shared_ptr<MessageSink>& sink) noexcept {
    isPlain_ = false;
    if (sink.get() == called_) {
        kept_ = sink;
    }
    if (index < reached_[weak]) {
        --reached_[weak];
        guarded(L"MessageSource::disconnect", [&] { left_.emplace_back(sink); });
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
        strongSinks_.push_back(sink);
        return;
    }
    if (delivery_ == nullptr && weakSinks_.size() == weakSinks_.capacity()) {
        std::erase_if(weakSinks_, [](const auto& entry) { return entry.expired(); });
    }
    weakSinks_.emplace_back(sink);
}

void MessageSource::disconnect(const MessageSink* sink) {
    if (sink == nullptr) {
        return;
    }
    // Let go of last: a sink that goes away may come back to this source.
    std::shared_ptr<MessageSink> released;
    const auto strong = std::find_if(strongSinks_.begin(), strongSinks_.end(), isStrong(sink));
    const auto weak = std::find_if(weakSinks_.begin(), weakSinks_.end(), isWeak(sink));
    if (strong != strongSinks_.end()) {
        released = std::move(*strong);
        const auto next = strongSinks_.erase(strong);
        entryLeft(false, static_cast<std::size_t>(next - strongSinks_.begin()), released);
    } else if (weak != weakSinks_.end()) {
        released = weak->lock();
        const auto next = weakSinks_.erase(weak);
        entryLeft(true, static_cast<std::size_t>(next - weakSinks_.begin()), released);
    }
}

void MessageSource::disconnectAll() {
    // Moved out first: a sink that goes away may come back to this source.
    const auto strong = std::exchange(strongSinks_, {});
    const auto weak = std::exchange(weakSinks_, {});
    for (std::size_t i = strong.size(); i-- > 0;) {
        entryLeft(false, i, strong[i]);
    }
    for (std::size_t i = weak.size(); i-- > 0;) {
        entryLeft(true, i, weak[i].lock());
    }
}

void MessageSource::entryLeft(bool weak, std::size_t index,
                              const std::shared_ptr<MessageSink>& sink) noexcept {
    for (Delivery* delivery = delivery_; delivery != nullptr; delivery = delivery->outer()) {
        delivery->entryLeft(weak, index, sink);
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
            guarded(L"MessageSource::sendMessage", [&] { sink->receiveMessage(kind, a, b); });
        }
    }
    return true;
}

bool MessageSource::sendText(const MessageKind& kind, const std::wstring& text) {
    return sendMessage(kind, MessageWord::ofText(text), MessageWord());
}

bool MessageSource::maySend(const MessageKind&, MessageWord, MessageWord) const { return true; }

std::shared_ptr<SharedObject> MessageSource::sourceOwner() const { return {}; }

bool MessageSource::isSendingEnabled() const { return sendingEnabled_; }

void MessageSource::setSendingEnabled(bool enabled) { sendingEnabled_ = enabled; }

bool MessageSource::isConnected(const MessageSink* sink) const {
    return sink != nullptr &&
           (std::any_of(strongSinks_.begin(), strongSinks_.end(), isStrong(sink)) ||
            std::any_of(weakSinks_.begin(), weakSinks_.end(), isWeak(sink)));
}

bool MessageSource::isDeliveryDeferred() const { return deliveryDeferred_; }

void MessageSource::setDeliveryDeferred(bool deferred) { deliveryDeferred_ = deferred; }

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
    if (!wants(*this, kind, a, b)) {
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
