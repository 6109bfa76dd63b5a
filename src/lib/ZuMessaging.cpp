#include "ZuMessaging.h"

#include <algorithm>

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

void MessageSink::receiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (wantsMessage(kind, a, b)) {
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

// One running round of delivery, linked to the round that it runs inside of.
// The outermost round keeps alive what was disconnected under way, and a round
// learns from its frame that the source is gone.
class MessageSource::Delivery {
public:
    explicit Delivery(MessageSource& source) noexcept : source_(&source), outer_(source.delivery_) {
        source.delivery_ = this;
    }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    ~Delivery() {
        if (source_ == nullptr) {
            return;
        }
        source_->delivery_ = outer_;
        if (outer_ == nullptr && source_->hasGaps_) {
            source_->compact();
        }
    }

    bool isSourceGone() const noexcept { return source_ == nullptr; }

    // Holds a sink until the outermost round has ended.
    void keep(std::shared_ptr<MessageSink> sink) {
        Delivery* outermost = this;
        while (outermost->outer_ != nullptr) {
            outermost = outermost->outer_;
        }
        outermost->kept_.push_back(std::move(sink));
    }

    void sourceIsGone() noexcept {
        for (Delivery* delivery = this; delivery != nullptr; delivery = delivery->outer_) {
            delivery->source_ = nullptr;
        }
    }

private:
    MessageSource* source_;
    Delivery* outer_;
    std::vector<std::shared_ptr<MessageSink>> kept_;
};

MessageSource::~MessageSource() {
    if (delivery_ != nullptr) {
        // The handler that destroys its source is still running.
        guarded(L"MessageSource::~MessageSource", [this] {
            for (std::shared_ptr<MessageSink>& sink : strongSinks_) {
                delivery_->keep(std::move(sink));
            }
        });
        delivery_->sourceIsGone();
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
    if (delivery_ == nullptr) {
        std::erase_if(weakSinks_, [](const auto& entry) { return entry.expired(); });
    }
    weakSinks_.push_back(sink);
}

void MessageSource::disconnect(const MessageSink* sink) {
    if (sink == nullptr) {
        return;
    }
    // Let go of last: a sink that goes away may come back to this source.
    std::shared_ptr<MessageSink> released;
    for (std::shared_ptr<MessageSink>& entry : strongSinks_) {
        if (entry.get() == sink) {
            if (delivery_ != nullptr) {
                delivery_->keep(entry);
            }
            released = std::move(entry);
            hasGaps_ = true;
        }
    }
    for (std::weak_ptr<MessageSink>& entry : weakSinks_) {
        if (entry.lock().get() == sink) {
            entry.reset();
            hasGaps_ = true;
        }
    }
    if (delivery_ == nullptr && hasGaps_) {
        compact();
    }
}

void MessageSource::disconnectAll() {
    if (delivery_ == nullptr) {
        // Moved out first: a sink that goes away may come back to this source.
        const auto released = std::move(strongSinks_);
        strongSinks_.clear();
        weakSinks_.clear();
        return;
    }
    for (std::shared_ptr<MessageSink>& entry : strongSinks_) {
        delivery_->keep(std::move(entry));
    }
    for (std::weak_ptr<MessageSink>& entry : weakSinks_) {
        entry.reset();
    }
    hasGaps_ = true;
}

bool MessageSource::sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (!isSendingEnabled() || !maySend(kind, a, b)) {
        return false;
    }
    Delivery delivery(*this);
    // The lists may change under way: their sizes are read again each time.
    for (std::size_t i = 0; i < strongSinks_.size(); ++i) {
        MessageSink* sink = strongSinks_[i].get();
        if (sink == nullptr) {
            continue;
        }
        if (isDeliveryDeferred()) {
            const std::shared_ptr<MessageSink> kept = strongSinks_[i];
            deferDelivery(kind, a, b, kept);
        } else {
            sink->receiveMessage(kind, a, b);
        }
        if (delivery.isSourceGone()) {
            return true;
        }
    }
    for (std::size_t i = 0; i < weakSinks_.size(); ++i) {
        const std::shared_ptr<MessageSink> sink = weakSinks_[i].lock();
        if (!sink) {
            continue;
        }
        if (isDeliveryDeferred()) {
            deferDelivery(kind, a, b, sink);
        } else {
            sink->receiveMessage(kind, a, b);
        }
        if (delivery.isSourceGone()) {
            return true;
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
           (std::any_of(strongSinks_.begin(), strongSinks_.end(),
                        [sink](const auto& entry) { return entry.get() == sink; }) ||
            std::any_of(weakSinks_.begin(), weakSinks_.end(),
                        [sink](const auto& entry) { return entry.lock().get() == sink; }));
}

bool MessageSource::isDeliveryDeferred() const { return deliveryDeferred_; }

void MessageSource::setDeliveryDeferred(bool deferred) { deliveryDeferred_ = deferred; }

void MessageSource::deferDelivery(const MessageKind&, MessageWord, MessageWord,
                                  const std::shared_ptr<MessageSink>&) {
    ZU_ASSERT_AS(false, L"deferDelivery", ZU_HERE);
}

void MessageSource::compact() {
    hasGaps_ = false;
    std::erase_if(strongSinks_, [](const auto& entry) { return !entry; });
    std::erase_if(weakSinks_, [](const auto& entry) { return entry.expired(); });
}

// --- MessageForwarder ------------------------------------------------------------------------

void MessageForwarder::receiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (!wantsMessage(kind, a, b)) {
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
