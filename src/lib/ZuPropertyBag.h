// The framework's settings container: keys, values, and a hook for changes.
//
// A bag maps wide-string keys (exact, case-sensitive) to SerializableUnion values
// and keeps them in the order in which the keys first appeared. An entry, once
// made, stays until the bag is read anew; clearing a key makes its value null.
// Getters give their default for a missing key, a null value and a value of
// another kind. Setters store real changes only and run the change hook for each.
// A bag is used by one thread at a time.
#pragma once

#include "ZuDateTime.h"
#include "ZuHashMap.h"
#include "ZuSerializable.h"

namespace zustd {

class PropertyBag : public ISerializable {
public:
    // The allocator gives the memory for entries and outlives the bag; with a
    // null one the bag fails the assertion "valueAllocator_" when it is filled.
    explicit PropertyBag(
        std::pmr::memory_resource* valueAllocator = std::pmr::new_delete_resource())
        : table_(valueAllocator) {}

    // Reading replaces the whole content; other tags before the table are stepped
    // over. Only parseXml announces what it read: a bag that comes out of a stream
    // belongs to nobody yet.
    void appendXml(std::wstring& text) const override;
    void readXml(std::wistream& stream) override;
    void parseXml(const wchar_t*& begin, const wchar_t* end) override;

    // parseXml over a whole text.
    virtual void parse(const std::wstring& text);

    // The default where there is no value of the kind.
    virtual std::wstring getString(std::wstring_view key, const std::wstring& defaultValue) const {
        return getOr(key, defaultValue);
    }
    // out receives the string, or the default; whether there was one.
    virtual bool getString(std::wstring_view key, std::wstring& out,
                           const std::wstring& defaultValue) const;
    virtual void setString(std::wstring_view key, const std::wstring& value) { set(key, value); }
    virtual std::int32_t getLong(std::wstring_view key, std::int32_t defaultValue) const {
        return getOr(key, defaultValue);
    }
    virtual void setLong(std::wstring_view key, std::int32_t value) { set(key, value); }
    virtual double getDouble(std::wstring_view key, double defaultValue) const {
        return getOr(key, defaultValue);
    }
    // A stored NaN always counts as changed.
    virtual void setDouble(std::wstring_view key, double value) { set(key, value); }
    virtual bool getBool(std::wstring_view key, bool defaultValue) const {
        return getOr(key, defaultValue);
    }
    virtual void setBool(std::wstring_view key, bool value) { set(key, value); }
    virtual void setDateTime(std::wstring_view key, const DateTime& value) { set(key, value); }
    virtual DateTime getDateTime(std::wstring_view key, const DateTime& defaultValue) const {
        return getOr(key, defaultValue);
    }
    // acceptLong: a long of 0 or more counts too.
    virtual std::uint64_t getSize(std::wstring_view key, std::uint64_t defaultValue,
                                  bool acceptLong) const;
    virtual void setSize(std::wstring_view key, std::uint64_t value) { set(key, value); }
    // What could be written but not read back, an array too deep or with an
    // object in it, fails as SerializableUnion::requireReadable says.
    virtual void setArray(std::wstring_view key, const std::vector<SerializableUnion>& value);
    virtual std::vector<SerializableUnion> getArray(std::wstring_view key) const {
        return getOr(key, std::vector<SerializableUnion>());
    }

    // Makes an existing key's value null and runs the change hook.
    virtual void clear(std::wstring_view key);
    virtual bool isNull(std::wstring_view key) const;
    virtual bool has(std::wstring_view key) const { return table_.contains(key); }
    // The number of entries, null ones included.
    virtual std::size_t size() const { return table_.size(); }

    // Called after every real change; does nothing here. It may do anything,
    // also destroy the bag. The key may be the bag's own, which is gone when the
    // bag is, or is read anew.
    virtual void onChanged(std::wstring_view) {}

    // Null for a missing key.
    virtual SerializableUnion getUnion(std::wstring_view key) const;
    // A null value clears the key. An object is refused without a word: a bag
    // holds only values that have a text form. Arrays as in setArray.
    virtual void setUnion(std::wstring_view key, const SerializableUnion& value);

    // Replaces out by the keys in the bag's order.
    virtual void keys(std::vector<std::wstring>& out) const;
    // Runs the change hook for every key that there is now. A hook that makes
    // the bag be read anew, or destroys it, ends the round.
    virtual void announceAll();

private:
    using Table = HashMap<SerializableUnion, ShortKey>;

    template <class Source>
    void readFrom(Source& in);
    template <class Source>
    void readTable(Source& in);

    // The key's value of this type; null when there is none.
    template <class T>
    const T* peek(std::wstring_view key) const {
        const SerializableUnion* value = table_.find(key);
        return value != nullptr ? value->peek<T>() : nullptr;
    }
    template <class T>
    T getOr(std::wstring_view key, const T& defaultValue) const {
        const T* value = peek<T>(key);
        return value != nullptr ? *value : defaultValue;
    }
    // The pattern of all setters: announces what store has changed.
    template <class IsSame, class Store>
    void change(std::wstring_view key, IsSame&& isSame, Store&& store) {
        auto [entry, created] = table_.findOrInsert(key);
        if (!created && isSame(entry.value)) {
            return;
        }
        store(entry.value);
        onChanged(entry.key);
    }
    // A key that holds another kind, or null, is compared by the getter's neutral
    // value: setting a text to "" is no change there.
    template <class T>
    void set(std::wstring_view key, const T& value) {
        change(
            key,
            [&](const SerializableUnion& stored) {
                const T* present = stored.peek<T>();
                return present != nullptr ? *present == value : value == T();
            },
            [&](SerializableUnion& stored) {
                if constexpr (std::is_same_v<T, std::wstring>) {
                    if (stored.isString()) {
                        // The room of the former text is used again.
                        stored.stringRef() = value;
                        return;
                    }
                }
                stored.store(value);
            });
    }

    Table table_;
    // Held by nobody else: gone when the bag is destroyed or read anew, which
    // ends an announceAll() under way.
    std::shared_ptr<char> round_;
};

}  // namespace zustd
