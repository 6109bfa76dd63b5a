#include "ZuLoader.h"

#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "ZuEncoder.h"
#include "ZuPlankton.h"
#include "ZuXml.h"

namespace zustd {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

// A C runtime stream: its modes open paths of any alphabet on every system.
class BinaryFile {
public:
    BinaryFile(const std::wstring& name, const wchar_t* mode)
        : file_(_wfopen(name.c_str(), mode)) {}

    bool isOpen() const noexcept { return file_ != nullptr; }

    // The size in bytes, below 0 when the file has none to tell.
    std::int64_t size() noexcept {
        if (_fseeki64(file_.get(), 0, SEEK_END) != 0) {
            return -1;
        }
        const std::int64_t position = _ftelli64(file_.get());
        return _fseeki64(file_.get(), 0, SEEK_SET) == 0 ? position : -1;
    }

    bool read(std::vector<char>& buffer) noexcept {
        return std::fread(buffer.data(), 1, buffer.size(), file_.get()) == buffer.size();
    }
    bool write(std::string_view bytes) noexcept {
        return std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) == bytes.size();
    }
    bool close() noexcept { return std::fclose(file_.release()) == 0; }

private:
    std::unique_ptr<std::FILE, FileCloser> file_;
};

// One step of a load or save, seen only by someone who traces.
template <TraceArgument... Args>
void step(const wchar_t* format, Args... args) noexcept {
    trace(kTraceLevelReport, format, args...);
}

std::string readAll(BinaryFile& file, const std::wstring& fileName) {
    const std::int64_t sslen = file.size();
    ZU_ASSERT_AS(sslen >= 0 && static_cast<std::uint64_t>(sslen) <= SIZE_MAX,
                 L"(sslen)>=0 && (sslen)<=SIZE_MAX", ZU_HERE);
    step(L"Loader::load(string): filename=%ls; filesize=%llu", fileName.c_str(),
         static_cast<std::uint64_t>(sslen));
    step(L"Loader::load(string): allocating buf...");
    std::vector<char> buf(static_cast<std::size_t>(sslen));
    step(L"Loader::load(string): buf allocated");
    step(L"Loader::load(string): reading file into buf...");
    if (!file.read(buf)) {
        throw std::runtime_error("cannot read file");
    }
    step(L"Loader::load(string): file read.");
    step(L"Loader::load(string): copying buf to bufs...");
    std::string bufs(buf.begin(), buf.end());
    step(L"Loader::load(string): copied buf to bufs.");
    step(L"Loader::load(string): deleting buf...");
    std::vector<char>().swap(buf);
    step(L"Loader::load(string): deleted buf.");
    return bufs;
}

void writeAll(const std::wstring& fileName, const std::wstring& text) {
    step(L"Loader::save: creating file...");
    BinaryFile file(fileName, L"wb");
    if (!file.isOpen()) {
        step(L"Loader::save: cannot create file");
        throw std::runtime_error("cannot open file for writing");
    }
    step(L"Loader::save: file created");
    step(L"Loader::save: encoding source... (size=%llu)", std::uint64_t{text.size()});
    std::string bytes;
    Encoder::encodeToUTF8(text, bytes);
    step(L"Loader::save: source encoded (size=%llu)", std::uint64_t{bytes.size()});
    step(L"Loader::save: writing to file...");
    if (!file.write(bytes)) {
        throw std::runtime_error("cannot write to file");
    }
    step(L"Loader::save: file written");
    if (!file.close()) {
        throw std::runtime_error("cannot close file");
    }
    step(L"Loader::save: file closed");
}

}  // namespace

bool Loader::load(const std::wstring& fileName, std::wstring& text) noexcept {
    return guarded(L"Loader::load", false, [&] {
        step(L"Loader::load(string): enter");
        BinaryFile file(fileName, L"rb");
        if (!file.isOpen()) {
            return false;
        }
        const std::string bufs = readAll(file, fileName);
        step(L"Loader::load(string): decoding bufs to dest...");
        Encoder::decodeFrom(kEncodingUtf8, bufs, text);
        step(L"Loader::load(string): decoded bufs to dest.");
        step(L"Loader::load(string): closing file...");
        // All has been read: a close that fails changes nothing any more.
        file.close();
        step(L"Loader::load(string): file closed.");
        step(L"Loader::load(string): leave");
        return true;
    });
}

bool Loader::save(const std::wstring& fileName, const std::wstring& text) noexcept {
    step(L"Loader::save: enter");
    const bool saved = guarded(L"Loader::save", [&] { writeAll(fileName, text); });
    step(L"Loader::save: leave");
    return saved;
}

bool Loader::loadSerializedString(const std::wstring& fileName, ISerializable& target) noexcept {
    return guarded(L"Loader::loadSerializedString", false, [&] {
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
