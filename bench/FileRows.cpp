// Whole files: text on disk and in memory.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "Rows.h"
#include "ZuLoader.h"
#include "utf8.h"

namespace bench {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// A file's name, its bytes and its text: settings with some umlauts.
struct Sample {
    std::wstring name;
    std::string bytes;
    std::wstring text;
};

std::shared_ptr<Sample> makeSample(std::size_t megabytes) {
    const auto sample = std::make_shared<Sample>();
    sample->name = (std::filesystem::temp_directory_path() /
                    ("zustd_bench_" + std::to_string(megabytes) + ".txt"))
                       .wstring();
    while (sample->bytes.size() < megabytes * 1024 * 1024) {
        sample->bytes += "<p><k>view.column.width.123</k><t>string</t><v>M\xC3\xBCller</v></p>\n";
    }
    utf8::unchecked::utf8to16(sample->bytes.begin(), sample->bytes.end(),
                              std::back_inserter(sample->text));
    return sample;
}

void readPlainly(const std::wstring& name, std::string& bytes) {
    const File file(_wfopen(name.c_str(), L"rb"));
    require(file != nullptr, "reading a file");
    std::fseek(file.get(), 0, SEEK_END);
    bytes.resize(static_cast<std::size_t>(std::ftell(file.get())));
    std::rewind(file.get());
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
}

void writePlainly(const std::wstring& name, const std::string& bytes) {
    const File file(_wfopen(name.c_str(), L"wb"));
    require(file && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size(),
            "writing a file");
}

// The same work by hand, in the peer's fastest way.
void loadByHand(const std::wstring& name, std::wstring& text) {
    std::string bytes;
    readPlainly(name, bytes);
    text.resize(bytes.size());
    wchar_t* end =
        utf8::unchecked::utf8to16(bytes.data(), bytes.data() + bytes.size(), text.data());
    text.resize(static_cast<std::size_t>(end - text.data()));
}

void saveByHand(const std::wstring& name, const std::wstring& text) {
    std::string bytes(text.size() * 3, '\0');
    char* end = utf8::unchecked::utf16to8(text.data(), text.data() + text.size(), bytes.data());
    bytes.resize(static_cast<std::size_t>(end - bytes.data()));
    writePlainly(name, bytes);
}

void requireSameWork(const Sample& sample) {
    std::wstring text;
    require(zustd::Loader::save(sample.name, sample.text), "saving");
    loadByHand(sample.name, text);
    require(text == sample.text, "what was saved");
    saveByHand(sample.name, sample.text);
    require(zustd::Loader::load(sample.name, text) && text == sample.text, "what was loaded");
    std::filesystem::remove(sample.name);
}

// Runs with the sample's file there, which goes away behind.
template <class Work>
Measure onFile(const std::shared_ptr<Sample>& sample, Work work) {
    return [sample, work] {
        writePlainly(sample->name, sample->bytes);
        const auto start = std::chrono::steady_clock::now();
        work(*sample);
        const auto taken = std::chrono::steady_clock::now() - start;
        std::filesystem::remove(sample->name);
        return std::chrono::duration<double, std::micro>(taken).count();
    };
}

void addSize(std::size_t megabytes) {
    const auto sample = makeSample(megabytes);
    requireSameWork(*sample);
    const std::string size = std::to_string(megabytes) + " MB";
    const auto add = [&](const std::string& work, auto ours, const char* peer, auto byHand,
                         const char* limit, auto plainly) {
        addOurs(work + size, onFile(sample, ours));
        addPeer(work + size, peer, onFile(sample, byHand), Kind::kPeer, Unit::kMilliseconds);
        addPeer(work + size, limit, onFile(sample, plainly), Kind::kLimit, Unit::kMilliseconds);
    };
    add(
        "load ",
        [](const Sample& at) {
            std::wstring text;
            require(zustd::Loader::load(at.name, text), "loading");
        },
        "fread, utf8",
        [](const Sample& at) {
            std::wstring text;
            loadByHand(at.name, text);
        },
        "fread",
        [](const Sample& at) {
            std::string bytes;
            readPlainly(at.name, bytes);
        });
    add(
        "save ", [](const Sample& at) { require(zustd::Loader::save(at.name, at.text), "saving"); },
        "utf8, fwrite", [](const Sample& at) { saveByHand(at.name, at.text); }, "fwrite",
        [](const Sample& at) { writePlainly(at.name, at.bytes); });
}

}  // namespace

void addFileRows() {
    addSize(1);
    addSize(64);
}

}  // namespace bench
