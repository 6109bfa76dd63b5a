// The framework's value model: one tagged value that every setting is made of.
//
// A SerializableUnion holds nothing or one value of eight kinds. Kinds are strict:
// reading a value as another kind never converts, it gives that kind's empty value.
//
// Everything here reads and writes the XML dialect of ZuXml through the interface
// ISerializable. Values are not synchronised.
#pragma once

#include <iosfwd>
#include <utility>

#include "ZuDateTime.h"
#include "ZuObjectPool.h"
#include "ZuSharedObject.h"
#include "ZuXml.h"

namespace zustd {

class ISerializable;

// What ISerializable's own operations do. They are inline, so that its table,
// and with it the streams and locales of the standard library, are only in a
// program that has a class without a writer of its own.
namespace detail {
void writeAppended(const ISerializable& source, std::wostream& stream);
void appendWritten(const ISerializable& source, std::wstring& text);
[[noreturn]] void throwNotImplemented();
}  // namespace detail

// What can be written as and read from the XML dialect.
class ISerializable {
public:
    ISerializable() = default;
    ISerializable(const ISerializable&) = default;
    ISerializable& operator=(const ISerializable&) = default;
    virtual ~ISerializable() = default;

    // The two writers are made of each other; a class overrides at least one.
    virtual void writeXml(std::wostream& stream) const { detail::writeAppended(*this, stream); }
    virtual void appendXml(std::wstring& text) const { detail::appendWritten(*this, text); }

    // The readers replace the object's value. Malformed input throws (see ZuXml);
    // the object then holds what was read before the fault. These throw a text.
    virtual void readXml(std::wistream&) { detail::throwNotImplemented(); }
    // begin moves past what was read.
    virtual void parseXml(const wchar_t*&, const wchar_t*) { detail::throwNotImplemented(); }
};

// How single values stand in element text; a date's milliseconds do not.
namespace detail {
inline void appendText(std::wstring& out, const std::wstring& value) {
    Xml::appendEscaped(out, value);
}
inline void appendText(std::wstring& out, std::int32_t value) { Xml::appendLong(out, value); }
inline void appendText(std::wstring& out, double value) { Xml::appendDouble(out, value); }
inline void appendText(std::wstring& out, bool value) { out.push_back(value ? L'y' : L'n'); }
inline void appendText(std::wstring& out, std::uint64_t value) { Xml::appendSize(out, value); }
void appendText(std::wstring& out, const DateTime& value);
inline void scanText(std::wstring_view text, std::wstring& value) { value = text; }
inline void scanText(std::wstring_view text, std::int32_t& value) { value = Xml::toLong(text); }
inline void scanText(std::wstring_view text, double& value) { value = Xml::toDouble(text); }
inline void scanText(std::wstring_view text, bool& value) { value = Xml::toBool(text); }
inline void scanText(std::wstring_view text, std::uint64_t& value) { value = Xml::toSize(text); }
void scanText(std::wstring_view text, DateTime& value);
}  // namespace detail

// The dialect's tags of a value, of its kind and of an array's count.
inline constexpr std::wstring_view kValueTag = L"v";
inline constexpr std::wstring_view kKindTag = L"t";
inline constexpr std::wstring_view kCountTag = L"c";
inline constexpr std::wstring_view kValueStart = L"<v>";
inline constexpr std::wstring_view kValueEnd = L"</v>";

// A value with one reader, readFrom, for both sources; steps over a prolog.
template <class Value>
class ReadsItself : public ISerializable {
public:
    void readXml(std::wistream& stream) override {
        XmlStream in(stream);
        xml::skipProlog(in);
        static_cast<Value&>(*this).readFrom(in);
        in.putBack();
    }
    void parseXml(const wchar_t*& begin, const wchar_t* end) override {
        XmlRange in(begin, end);
        xml::skipProlog(in);
        static_cast<Value&>(*this).readFrom(in);
    }
};

// A single value of one kind, written as <v>…</v>. Reading leaves the value
// as it is when there is no such element.
template <class T>
class SerializableT final : public ReadsItself<SerializableT<T>>, public PooledObject {
public:
    SerializableT() = default;
    explicit SerializableT(T initial) : value(std::move(initial)) {}

    void appendXml(std::wstring& text) const override {
        text.append(kValueStart);
        detail::appendText(text, value);
        text.append(kValueEnd);
    }
    // Reads the XML form from either character source.
    template <class Source>
    void readFrom(Source& in) {
        xml::readElement(in, kValueTag,
                         [this](std::wstring_view text) { detail::scanText(text, value); });
    }

    T value{};
};

// The object kind has no element of its own: the held object writes and reads
// itself when it is serializable, an empty pointer is no text at all, and any
// other object is "not implemented".
template <>
class SerializableT<std::shared_ptr<SharedObject>> final : public ISerializable,
                                                           public PooledObject {
public:
    SerializableT() = default;
    explicit SerializableT(std::shared_ptr<SharedObject> initial) : value(std::move(initial)) {}

    void appendXml(std::wstring& text) const override {
        withObject([&](ISerializable& object) { object.appendXml(text); });
    }
    void readXml(std::wistream& stream) override {
        withObject([&](ISerializable& object) { object.readXml(stream); });
    }
    void parseXml(const wchar_t*& begin, const wchar_t* end) override {
        withObject([&](ISerializable& object) { object.parseXml(begin, end); });
    }

    std::shared_ptr<SharedObject> value;

private:
    template <class Call>
    void withObject(Call&& call) const {
        if (auto* object = dynamic_cast<ISerializable*>(value.get())) {
            call(*object);
        } else if (value) {
            detail::throwNotImplemented();
        }
    }
};

// The kinds of value. Any other number counts as kNull.
enum class ValueKind : std::uint32_t {
    kNull = 0,
    kString = 1,
    kLong = 2,
    kDouble = 3,
    kBool = 4,
    kDateTime = 5,
    kSizet = 6,
    kObject = 7,
    kArray = 8,
};

// The name of a kind in the XML form, and the kind of a name (kNull for any other).
std::wstring_view kindName(ValueKind kind) noexcept;
ValueKind kindFromName(std::wstring_view name) noexcept;

class SerializableUnion;
class SerializableArray;

// The types of the kinds' values, from kind 1 on: the one list of them.
template <class... Types>
struct KindTypes {
    // Of a type's values.
    template <class T>
    static constexpr ValueKind kindOf() noexcept {
        std::uint32_t number = 0;
        static_cast<void>(((++number, std::is_same_v<T, Types>) || ...));
        return static_cast<ValueKind>(number);
    }
    // Calls visit<T>() with the type of the kind's values; false for null.
    template <class Visit>
    static bool visit(ValueKind kind, Visit&& visit) {
        std::uint32_t number = 0;
        return ((static_cast<ValueKind>(++number) == kind &&
                 (visit.template operator()<Types>(), true)) ||
                ...);
    }
};
using ValueKinds = KindTypes<std::wstring, std::int32_t, double, bool, DateTime, std::uint64_t,
                             std::shared_ptr<SharedObject>, std::vector<SerializableUnion>>;

// Nothing, or one value of eight kinds.
class SerializableUnion : public ReadsItself<SerializableUnion> {
public:
    SerializableUnion() noexcept = default;
    SerializableUnion(const SerializableUnion& other);
    SerializableUnion(SerializableUnion&& other) noexcept;
    SerializableUnion& operator=(const SerializableUnion& other);
    SerializableUnion& operator=(SerializableUnion&& other) noexcept;
    ~SerializableUnion() override = default;

    void appendXml(std::wstring& text) const override;

    // A setter overwrites a value of its own kind in place; otherwise the union
    // is null when there is no memory for the new value. What was there is
    // destroyed last: its destructor may do anything to the union.
    virtual void setString(std::wstring value) { store(std::move(value)); }
    virtual void setLong(std::int32_t value) { store(value); }
    virtual void setDouble(double value) { store(value); }
    virtual void setBool(bool value) { store(value); }
    virtual void setDateTime(const DateTime& value) { store(value); }
    virtual void setSizet(std::uint64_t value) { store(value); }
    virtual void setObject(std::shared_ptr<SharedObject> value) { store(std::move(value)); }
    // An array of so many null elements; empty when count is below 1.
    virtual void setArraySize(std::int64_t count);
    // The copy is made first: elements may be part of what is replaced.
    virtual void setArray(const std::vector<SerializableUnion>& elements) { store(elements); }

    // The held value, or the kind's empty value when another kind is held.
    virtual std::wstring getString() const { return heldOrEmpty<std::wstring>(); }
    // Whether a string is held; out is emptied or receives it.
    virtual bool tryGetString(std::wstring& out) const;
    // Lives until the kind changes; throws a text when no string is held.
    virtual std::wstring& stringRef();
    virtual std::int32_t getLong() const { return heldOrEmpty<std::int32_t>(); }
    virtual double getDouble() const { return heldOrEmpty<double>(); }
    virtual bool getBool() const { return heldOrEmpty<bool>(); }
    virtual DateTime getDateTime() const { return heldOrEmpty<DateTime>(); }
    virtual std::uint64_t getSizet() const { return heldOrEmpty<std::uint64_t>(); }
    virtual std::shared_ptr<SharedObject> getObject() const {
        return heldOrEmpty<std::shared_ptr<SharedObject>>();
    }
    virtual std::vector<SerializableUnion> getArray() const { return heldOrEmpty<Elements>(); }
    // The same for an array.
    virtual std::vector<SerializableUnion>& arrayRef();

    virtual bool isString() const noexcept { return kind_ == ValueKind::kString; }
    virtual bool isLong() const noexcept { return kind_ == ValueKind::kLong; }
    virtual bool isDouble() const noexcept { return kind_ == ValueKind::kDouble; }
    virtual bool isBool() const noexcept { return kind_ == ValueKind::kBool; }
    virtual bool isDateTime() const noexcept { return kind_ == ValueKind::kDateTime; }
    virtual bool isSizet() const noexcept { return kind_ == ValueKind::kSizet; }
    virtual bool isObject() const noexcept { return kind_ == ValueKind::kObject; }
    virtual bool isArray() const noexcept { return kind_ == ValueKind::kArray; }
    virtual bool isNull() const noexcept { return kind_ == ValueKind::kNull; }

    virtual ValueKind kind() const noexcept { return kind_; }

    // Equal kinds and equal values; objects by identity, arrays element by
    // element, a NaN is unequal to itself.
    virtual bool notEquals(const SerializableUnion& other) const { return !equals(other); }
    virtual bool equals(const SerializableUnion& other) const;

    // Becomes a copy: shared for objects, deep for all others.
    virtual void assign(const SerializableUnion& other);

    // As arrayRef(); the index is not checked.
    virtual SerializableUnion& elementAt(std::size_t index) { return arrayRef()[index]; }

    // Fails the assertion of the readers when arrays nest too deep for them, and
    // "!isObject()" when there is an object in an array: what cannot be read
    // back must not be kept for a file.
    static void requireReadable(const std::vector<SerializableUnion>& elements);

    // The held value itself; null when another kind is held.
    template <class T>
    const T* peek() const noexcept {
        return holds<T>() ? &held<T>() : nullptr;
    }
    // What every setter does.
    template <class T>
    void store(T value);

    // Reads the XML form from either character source.
    template <class Source>
    void readFrom(Source& in);

    friend bool operator==(const SerializableUnion& left, const SerializableUnion& right) {
        return left.equals(right);
    }

private:
    using Elements = std::vector<SerializableUnion>;
    template <class T>
    using Holder =
        std::conditional_t<std::is_same_v<T, Elements>, SerializableArray, SerializableT<T>>;

    template <class T>
    bool holds() const noexcept {
        return kind_ == ValueKinds::kindOf<T>();
    }
    template <class T>
    T& held() const noexcept;
    template <class T>
    T heldOrEmpty() const {
        return holds<T>() ? held<T>() : T();
    }
    // What was held; the union is null.
    std::unique_ptr<ISerializable> takeHeld() noexcept {
        kind_ = ValueKind::kNull;
        return std::move(held_);
    }
    template <class T, class Source>
    void readAs(Source& in);

    std::unique_ptr<ISerializable> held_;
    ValueKind kind_ = ValueKind::kNull;
};

// An ordered sequence of values, written as <c>count</c> and the elements.
class SerializableArray final : public ReadsItself<SerializableArray>, public PooledObject {
public:
    // A file may leave out so many elements of its count at the most; they
    // are null.
    static constexpr std::size_t kMaxImpliedElements = 64;

    SerializableArray() = default;
    explicit SerializableArray(std::vector<SerializableUnion> initial)
        : value(std::move(initial)) {}

    void appendXml(std::wstring& text) const override;

    // Reads the XML form from either character source.
    template <class Source>
    void readFrom(Source& in);

    std::vector<SerializableUnion> value;
};

// --- Templates ------------------------------------------------------------------

template <class Source>
void SerializableArray::readFrom(Source& in) {
    const xml::DepthGuard guard;
    std::uint64_t count = 0;
    xml::readElement(in, kCountTag,
                     [&count](std::wstring_view text) { count = Xml::toSize(text); });
    value.clear();
    // The count is only a claim: memory is taken for elements that are there.
    // Once one is not, neither are those behind it.
    for (std::uint64_t i = 0; i < count; ++i) {
        const auto start = in.mark();
        value.emplace_back().readFrom(in);
        if (in.mark() == start) {
            const std::uint64_t implied = count - i;
            ZU_ASSERT_AS(implied <= kMaxImpliedElements, L"implied <= kMaxImpliedElements",
                         ZU_HERE);
            value.resize(value.size() - 1 + static_cast<std::size_t>(implied));
            return;
        }
    }
}

template <class T>
T& SerializableUnion::held() const noexcept {
    return static_cast<Holder<T>&>(*held_).value;
}

template <class Source>
void SerializableUnion::readFrom(Source& in) {
    ValueKind kind = ValueKind::kNull;
    xml::readElement(in, kKindTag, [&kind](std::wstring_view text) { kind = kindFromName(text); });
    // Lives until all is read.
    const std::unique_ptr<ISerializable> old = takeHeld();
    ValueKinds::visit(kind, [&]<class T>() { readAs<T>(in); });
}

// The class of the held object is known, so nothing here is a virtual call.
template <class T, class Source>
void SerializableUnion::readAs(Source& in) {
    if constexpr (std::is_same_v<T, Elements>) {
        // Null, and can be written, when it is too deep to be read.
        xml::DepthGuard::check();
    }
    auto holder = std::make_unique<Holder<T>>();
    [[maybe_unused]] Holder<T>& reader = *holder;
    held_ = std::move(holder);
    kind_ = ValueKinds::kindOf<T>();
    // An object is empty, and so without elements.
    if constexpr (!std::is_same_v<T, std::shared_ptr<SharedObject>>) {
        reader.readFrom(in);
    }
}

template <class T>
void SerializableUnion::store(T value) {
    if (holds<T>()) {
        // The old value goes with the parameter.
        std::swap(held<T>(), value);
        return;
    }
    const std::unique_ptr<ISerializable> old = takeHeld();
    held_ = std::make_unique<Holder<T>>(std::move(value));
    kind_ = ValueKinds::kindOf<T>();
}

}  // namespace zustd
