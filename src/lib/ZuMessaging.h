// Typed messages between framework objects: sources, sinks and forwarders.
//
// A MessageSource hands each message to its sinks at once, strong ones first, each
// group in the order of connection, on the sender's thread. A MessageForwarder
// sends on what it does not handle itself. An exception in a sink is traced and
// never reaches the sender.
//
// Handlers may do anything to the source that is sending to them:
// - no sink has a message twice in one round, however often it is disconnected
//   and connected meanwhile;
// - a sink connected now is reached in the same round, but a strong one no
//   longer when the round has come to the weak ones;
// - a sink disconnected now gets nothing more, and none of the others is
//   skipped; one that is handling the message lives until it has returned;
// - the source may be destroyed now: the round ends after this handler.
// What never ends by itself is not stopped: a handler that answers each message
// with another one, forwarders connected in a ring.
//
// Connecting and disconnecting look at all sinks, each step of a round at those that left it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ZuSharedObject.h"

namespace zustd {

// What the two words of a kind are, for whoever sends kinds that it does not know.
enum class MessageWords : std::uint32_t {
    kUnsaid,
    // The sender, of whatever class, and numbers.
    kNumbers,
    // A text and a number.
    kText,
    // One of them is an object of a certain class.
    kObject,
};

// A kind of message: a name of the form event.Class and a compact identifier of
// four hexadecimal digits, which differs between builds and is never stored. Kinds
// are told apart by their address.
class MessageKind {
public:
    // The name must outlive the kind. The 32,768th kind fails the assertion
    // "compactMsgCounter_ > 0 && compactMsgCounter_ < 0x8000".
    explicit MessageKind(const wchar_t* name, MessageWords words = MessageWords::kUnsaid);
    MessageKind& operator=(MessageKind&&) = delete;
    ~MessageKind();

    std::wstring_view name() const noexcept { return name_; }
    const std::wstring& compactId() const noexcept { return compactId_; }
    MessageWords words() const noexcept { return words_; }

    // The living kind with this name, or null.
    static const MessageKind* find(std::wstring_view name) noexcept;

    friend bool operator==(const MessageKind& left, const MessageKind& right) noexcept {
        return &left == &right;
    }

private:
    static std::uint64_t compactMsgCounter_;
    static MessageKind* newest_;

    std::wstring_view name_;
    MessageWords words_;
    std::wstring compactId_;
    MessageKind* older_ = nullptr;
};

namespace detail {

// What the kind Class::kEvent is called, computed while compiling: event.Class.
template <std::size_t N>
struct KindName {
    wchar_t text[N]{};

    constexpr explicit KindName(const wchar_t (&member)[N]) {
        const std::wstring_view whole(member);
        const std::size_t colon = whole.find(L':');
        const std::wstring_view event = whole.substr(colon + 3);
        event.copy(text, event.size());
        text[0] = static_cast<wchar_t>(text[0] - L'A' + L'a');
        text[event.size()] = L'.';
        whole.copy(text + event.size() + 1, colon);
    }
};

template <KindName Name>
inline constexpr const wchar_t* kKindText = Name.text;

}  // namespace detail

// Defines the kind that a class declares as kEvent; words are those of the constructor.
#define ZU_MESSAGE_KIND(member, words)                                                             \
    const ::zustd::MessageKind member(                                                             \
        ::zustd::detail::kKindText<::zustd::detail::KindName{L"" #member}>, words)

// One of the two argument words of a message; the kind says what it holds. A text
// or object is borrowed for the delivery. 64 bits everywhere: a point needs them.
class MessageWord {
public:
    constexpr MessageWord() noexcept = default;
    constexpr explicit MessageWord(std::int64_t number) noexcept : bits_(number) {}
    // What outlives the delivery.
    static MessageWord ofText(const std::wstring& text) noexcept {
        return MessageWord(reinterpret_cast<std::intptr_t>(&text));
    }
    template <class T>
    static MessageWord ofObject(T* object) noexcept {
        return MessageWord(reinterpret_cast<std::intptr_t>(object));
    }

    constexpr std::int64_t number() const noexcept { return bits_; }
    const std::wstring& text() const noexcept {
        return *reinterpret_cast<const std::wstring*>(static_cast<std::intptr_t>(bits_));
    }
    template <class T>
    T* object() const noexcept {
        return reinterpret_cast<T*>(static_cast<std::intptr_t>(bits_));
    }

private:
    std::int64_t bits_ = 0;
};

// Receives messages. Slot order is fixed.
class MessageSink {
public:
    MessageSink& operator=(MessageSink&&) = delete;
    virtual ~MessageSink() = default;

    // Hands a wanted message to onReceiveMessage, under the catch ladder: a filter
    // that fails refuses. The caller keeps the sink alive.
    virtual void receiveMessage(const MessageKind& kind, MessageWord a, MessageWord b);
    // Handles a message; whether it did. The base handles none.
    virtual bool onReceiveMessage(const MessageKind&, MessageWord, MessageWord) { return false; }
    // The object that this sink is a part of; empty here.
    virtual std::shared_ptr<SharedObject> sinkOwner() const { return {}; }
    // The sink's filter; the base accepts every kind.
    virtual bool acceptsMessage(const MessageKind&) const { return true; }
    // A restricted sink also asks meetsRestriction, which the base refuses:
    // restricting a plain sink silences it.
    virtual bool isRestricted() const { return restricted_; }
    virtual void setRestricted(bool restricted) { restricted_ = restricted; }
    virtual bool meetsRestriction(const MessageKind&, MessageWord, MessageWord) const {
        return false;
    }
    // Filter and restriction together.
    virtual bool wantsMessage(const MessageKind& kind, MessageWord a, MessageWord b) const;
    // Set while a forwarder handles and passes on a message.
    virtual bool isForwarding() const { return forwarding_; }
    virtual void setForwarding(bool forwarding) { forwarding_ = forwarding; }

protected:
    // wantsMessage under the catch ladder: a filter that fails refuses.
    bool wants(const MessageKind& kind, MessageWord a, MessageWord b) const noexcept;

private:
    bool restricted_ = false;
    bool forwarding_ = false;
};

// Sends messages. Slot order is fixed; deferDelivery stays last.
class MessageSource {
public:
    MessageSource& operator=(MessageSource&&) = delete;
    virtual ~MessageSource();

    // Adds a sink, held strongly or weakly, unless it is null or connected in
    // either way. Nothing is changed when memory runs out.
    virtual void connect(const std::shared_ptr<MessageSink>& sink, bool weak);
    // Removes a sink from whichever list holds it.
    virtual void disconnect(const MessageSink* sink);
    virtual void disconnectAll();
    // Delivers to every sink; false when a gate refused. Lets out only what a
    // gate or deferDelivery throws; the others then get nothing.
    virtual bool sendMessage(const MessageKind& kind, MessageWord a, MessageWord b);
    // Sends with a text as the first word.
    virtual bool sendText(const MessageKind& kind, const std::wstring& text);
    // The second gate; the base lets all pass.
    virtual bool maySend(const MessageKind&, MessageWord, MessageWord) const { return true; }
    // The object that this source is a part of; empty here.
    virtual std::shared_ptr<SharedObject> sourceOwner() const { return {}; }
    // The first gate.
    virtual bool isSendingEnabled() const { return sendingEnabled_; }
    virtual void setSendingEnabled(bool enabled) { sendingEnabled_ = enabled; }
    virtual bool isConnected(const MessageSink* sink) const;
    // While deferred, each sink's message goes to deferDelivery instead.
    virtual bool isDeliveryDeferred() const { return deliveryDeferred_; }
    virtual void setDeliveryDeferred(bool deferred) { deliveryDeferred_ = deferred; }
    // Takes a message for later; the base fails an assertion.
    virtual void deferDelivery(const MessageKind& kind, MessageWord a, MessageWord b,
                               const std::shared_ptr<MessageSink>& sink);

protected:
    // Whether this source is still there after body, which may send.
    bool outlives(const std::function<void()>& body);

private:
    class Delivery;

    enum List : std::size_t { kStrong, kWeak };
    struct StrongSink : std::shared_ptr<MessageSink> {
        explicit StrongSink(const std::shared_ptr<MessageSink>& sink) : shared_ptr(sink) {}
        bool is(const MessageSink* sink) const noexcept { return get() == sink; }
        const std::shared_ptr<MessageSink>& lock() const noexcept { return *this; }
    };
    // Told apart by the address, which costs less than to lock each.
    struct WeakSink : std::weak_ptr<MessageSink> {
        explicit WeakSink(const std::shared_ptr<MessageSink>& sink) noexcept
            : weak_ptr(sink), address(sink.get()) {}
        bool is(const MessageSink* sink) const noexcept { return address == sink && !expired(); }
        const MessageSink* address;
    };

    void entryLeft(List list, std::size_t index, const std::shared_ptr<MessageSink>& sink) noexcept;

    std::vector<StrongSink> strongSinks_;
    std::vector<WeakSink> weakSinks_;
    bool sendingEnabled_ = true;
    bool deliveryDeferred_ = false;
    // The innermost running delivery, or null.
    Delivery* delivery_ = nullptr;
};

// Receives messages and sends on what it does not handle.
class MessageForwarder : public MessageSink, public MessageSource {
public:
    void receiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;
};

}  // namespace zustd
