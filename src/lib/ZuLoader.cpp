#include "ZuLoader.h"

#include <stdexcept>

#include "ZuEncoder.h"
#include "ZuFile.h"
#include "ZuPlankton.h"
#include "ZuText.h"
#include "ZuXml.h"

namespace zustd {

namespace {

// The size in bytes, below 0 when the file has none to tell.
std::int64_t sizeOf(std::FILE* file) noexcept {
    if (_fseeki64(file, 0, SEEK_END) != 0) {
        return -1;
    }
    const std::int64_t position = _ftelli64(file);
    return _fseeki64(file, 0, SEEK_SET) == 0 ? position : -1;
}

// One step of a load or save, seen only by someone who traces.
template <TraceArgument... Args>
void step(const wchar_t* format, Args... args) noexcept {
    trace(kTraceLevelReport, format, args...);
}

// A failure of the disk: reported, then thrown as a standard exception.
[[noreturn]] void throwFailure(const char* text, SourcePlace place) {
    throwTraced(widen(text).c_str(), place, std::runtime_error(text));
}

std::string readAll(std::FILE* file, const std::wstring& fileName) {
    const std::int64_t sslen = sizeOf(file);
    ZU_ASSERT_AS(sslen >= 0 && static_cast<std::uint64_t>(sslen) <= SIZE_MAX,
                 L"(sslen)>=0 && (sslen)<=SIZE_MAX", ZU_HERE);
    step(L"Loader::load(string): filename=%ls; filesize=%llu", fileName.c_str(),
         static_cast<std::uint64_t>(sslen));
    step(L"Loader::load(string): allocating buf...");
    std::string bufs(static_cast<std::size_t>(sslen), '\0');
    step(L"Loader::load(string): buf allocated");
    step(L"Loader::load(string): reading file into buf...");
    if (std::fread(bufs.data(), 1, bufs.size(), file) != bufs.size()) {
        throwFailure("cannot read file", ZU_HERE);
    }
    step(L"Loader::load(string): file read.");
    // Readers of the trace know these steps; one buffer does for all.
    step(L"Loader::load(string): copying buf to bufs...");
    step(L"Loader::load(string): copied buf to bufs.");
    step(L"Loader::load(string): deleting buf...");
    step(L"Loader::load(string): deleted buf.");
    return bufs;
}

void writeAll(const std::wstring& fileName, const std::wstring& text) {
    // Out of memory, the file stays as it was or is not made at all: from here
    // on the encoder needs none.
    std::string bytes;
    bytes.reserve(3 * (text.size() + 1));
    step(L"Loader::save: creating file...");
    ReplacedFile file(fileName);
    if (!file.isOpen()) {
        step(L"Loader::save: cannot create file");
        throwFailure("cannot open file for writing", ZU_HERE);
    }
    step(L"Loader::save: file created");
    step(L"Loader::save: encoding source... (size=%llu)", std::uint64_t{text.size()});
    Encoder::encodeToUTF8(text, bytes);
    step(L"Loader::save: source encoded (size=%llu)", std::uint64_t{bytes.size()});
    step(L"Loader::save: writing to file...");
    if (!file.write(bytes)) {
        throwFailure("cannot write to file", ZU_HERE);
    }
    step(L"Loader::save: file written");
    if (!file.close()) {
        throwFailure("cannot close file", ZU_HERE);
    }
    step(L"Loader::save: file closed");
}

}  // namespace

bool Loader::load(const std::wstring& fileName, std::wstring& text) noexcept {
    return guarded(ZU_OPERATION, false, [&] {
        step(L"Loader::load(string): enter");
        File file = openForReading(fileName);
        if (!file) {
            return false;
        }
        const std::string bufs = readAll(file.get(), fileName);
        step(L"Loader::load(string): decoding bufs to dest...");
        Encoder::decodeFrom(kEncodingUtf8, bufs, text);
        step(L"Loader::load(string): decoded bufs to dest.");
        step(L"Loader::load(string): closing file...");
        // All has been read: a close that fails changes nothing any more.
        file.reset();
        step(L"Loader::load(string): file closed.");
        step(L"Loader::load(string): leave");
        return true;
    });
}

bool Loader::save(const std::wstring& fileName, const std::wstring& text) noexcept {
    step(L"Loader::save: enter");
    const bool saved = guarded(ZU_OPERATION, [&] { writeAll(fileName, text); });
    step(L"Loader::save: leave");
    return saved;
}

bool Loader::loadSerializedString(const std::wstring& fileName, ISerializable& target) noexcept {
    return guarded(ZU_OPERATION, false, [&] {
        step(L"Loader::loadSerializedString: enter");
        std::wstring wbufs;
        if (!load(fileName, wbufs)) {
            return false;
        }
        step(L"Loader::loadSerializedString: deserializing wbufs... (size=%llu)",
             std::uint64_t{wbufs.size()});
        const wchar_t* begin = wbufs.data();
        target.parseXml(begin, begin + wbufs.size());
        step(L"Loader::loadSerializedString: deserialized.");
        step(L"Loader::loadSerializedString: leave");
        return true;
    });
}

bool Loader::saveSerializedString(const std::wstring& fileName,
                                  const ISerializable& source) noexcept {
    return guarded(L"Loader::save: saveSerializedString", false, [&] {
        step(L"Loader::saveSerializedString: enter");
        std::wstring text(kXmlHeader);
        step(L"Loader::saveSerializedString: serializing source...");
        source.appendXml(text);
        step(L"Loader::saveSerializedString: source serialized. (size=%llu)",
             std::uint64_t{text.size()});
        return save(fileName, text);
    });
}

}  // namespace zustd
