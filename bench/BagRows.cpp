// Property bags read from and written to their text form.
#include <cstdint>
#include <iterator>
#include <string>

#include "PeerBag.h"
#include "Rows.h"

namespace bench {

namespace {

constexpr const wchar_t* kPrefixes[] = {L"view.column.width.", L"mail.folder.refresh.",
                                        L"window.place.", L"account.server.port."};
constexpr const wchar_t* kAsciiTexts[] = {L"Inbox", L"Tom & Jerry <tj@example.com>", L"n/a",
                                          L"C:\\Users\\Public\\Documents"};
constexpr const wchar_t* kMixedTexts[] = {L"Ausg\u00E4nge", L"M\u00FCller & S\u00F6hne",
                                          L"\u0412\u0445\u043E\u0434\u044F\u0449\u0438\u0435",
                                          L"Inbox"};

// A bag as settings are: most values are short texts and numbers, a few texts
// are long.
void fill(zustd::PropertyBag& bag, std::size_t count, const wchar_t* const (&texts)[4]) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::wstring key = kPrefixes[i % std::size(kPrefixes)] + std::to_wstring(i);
        const auto number = static_cast<std::int32_t>(i * 7919 % 100000);
        switch (i % 10) {
            case 0:
            case 1:
            case 2:
                bag.setString(key, texts[i / 10 % std::size(texts)]);
                break;
            case 3: {
                std::wstring text;
                while (text.size() < 150) {
                    text.append(texts[i / 10 % std::size(texts)]).append(L"; ");
                }
                bag.setString(key, text);
                break;
            }
            case 4:
            case 5:
                bag.setLong(key, number - 50000);
                break;
            case 6:
                bag.setBool(key, i / 10 % 2 == 0);
                break;
            case 7:
                bag.setDouble(key, number * 0.125);
                break;
            case 8:
                bag.setSize(key, i * 1000003);
                break;
            default:
                bag.setDateTime(key, {2016, 1 + number % 12, 1 + number % 28, number % 24,
                                      number % 60, number % 60});
                break;
        }
    }
}

std::wstring textOf(const zustd::PropertyBag& bag) {
    std::wstring text;
    bag.appendXml(text);
    return text;
}

void readOurs(benchmark::State& state, const std::wstring& text) {
    for (auto _ : state) {
        zustd::PropertyBag bag;
        bag.parse(text);
        benchmark::DoNotOptimize(bag.size());
    }
}

template <class Read>
void readTheirs(benchmark::State& state, const std::wstring& text, Read read) {
    for (auto _ : state) {
        PeerBag bag;
        read(text, bag);
        benchmark::DoNotOptimize(bag.size());
    }
}

void addReadRows(const std::string& size, const std::wstring& mixed, const std::wstring& ascii) {
    const std::string work = "bag read " + size;
    addOurs(work, [mixed](benchmark::State& state) { readOurs(state, mixed); });
    addPeer(work, "pugixml",
            [mixed](benchmark::State& state) { readTheirs(state, mixed, readWithPugixml); });
    const std::string asciiWork = "bag read ASCII " + size;
    addOurs(asciiWork, [ascii](benchmark::State& state) { readOurs(state, ascii); });
    addPeer(asciiWork, "rapidxml",
            [ascii](benchmark::State& state) { readTheirs(state, ascii, readWithRapidxml); });
}

void addWriteRows(const std::string& size, const std::wstring& text) {
    const std::string work = "bag write " + size;
    addOurs(work, [text](benchmark::State& state) {
        zustd::PropertyBag bag;
        bag.parse(text);
        for (auto _ : state) {
            std::wstring out;
            bag.appendXml(out);
            benchmark::DoNotOptimize(out.data());
        }
    });
    addPeer(work, "pugixml", [text](benchmark::State& state) {
        PeerBag bag;
        readWithPugixml(text, bag);
        for (auto _ : state) {
            std::wstring out;
            writeWithPugixml(bag, out);
            benchmark::DoNotOptimize(out.data());
        }
    });
}

// All sides must read the same values and write what we read back as such.
void requireSameWork(const std::wstring& mixed, const std::wstring& ascii) {
    zustd::PropertyBag ours;
    PeerBag theirs;
    ours.parse(ascii);
    readWithRapidxml(ascii, theirs);
    require(isSame(ours, theirs), "rapidxml reads other values");
    ours.parse(mixed);
    readWithPugixml(mixed, theirs);
    require(isSame(ours, theirs), "pugixml reads other values");
    std::wstring written;
    writeWithPugixml(theirs, written);
    ours.parse(written);
    require(isSame(ours, theirs), "pugixml writes other values");
}

}  // namespace

void addBagRows() {
    for (const std::size_t count : {std::size_t{1000}, std::size_t{100000}}) {
        zustd::PropertyBag mixedBag;
        zustd::PropertyBag asciiBag;
        fill(mixedBag, count, kMixedTexts);
        fill(asciiBag, count, kAsciiTexts);
        const std::wstring mixed = textOf(mixedBag);
        const std::wstring ascii = textOf(asciiBag);
        requireSameWork(mixed, ascii);
        addReadRows(std::to_string(count), mixed, ascii);
        addWriteRows(std::to_string(count), mixed);
    }
}

}  // namespace bench
