// A file of the user's, kept beside it while another content stands in its place.
//
// A keeping file, of the same name with ".kept" behind it, has what there was and
// every content that will stand there instead, before the first of these does. A
// process that is killed leaves it behind, and whoever comes next puts back what
// there was. A file that has become something else meanwhile, or has been
// removed, is left alone: somebody meant that.
//
// The keeping file is held open: a living run is never mended. All of this is
// plain file calls, fit for any thread and for a process that is ending.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ZuHandle.h"

namespace zuplutil {

class KeptFile {
public:
    // What is left of a former process.
    enum class Left {
        kNothing,
        kInUse,     // its process lives
        kPutBack,   // what there was is there again
        kChanged,   // the file is neither what there was nor ours: it stays
        kUnusable,  // the keeping file is empty or damaged; removed
        kFailed,    // try again later
    };

    // Keeps what the file holds, or that there is none. ours: the contents that
    // are going to be written. Nothing when this cannot be kept, or when an
    // earlier keeping is not over.
    static std::optional<KeptFile> keep(const std::wstring& file,
                                        const std::vector<std::string>& ours);

    bool hadFile() const { return former_.has_value(); }

    // Puts back what a former process left.
    static Left mend(const std::wstring& file);

    // Puts back what there was, unless the file has changed, and ends the
    // keeping; a file that cannot be read or written is left to the next process.
    void putBack() noexcept;

    // Ends the keeping. Without it the keeping file stays for the next process.
    void forget() noexcept;

private:
    // An open file of the system's.
    struct FileTraits {
        using Type = void*;
        static Type invalid() noexcept;
        static void close(Type file) noexcept;
    };
    using File = zustd::Handle<FileTraits>;
    using Content = std::optional<std::string>;

    KeptFile(std::wstring file, File keeping)
        : file_(std::move(file)), keeping_(std::move(keeping)) {}
    bool decode(const std::string& bytes);
    bool isOurs(const Content& content) const;
    Left putBackContent() const;

    std::wstring file_;
    // Open as long as the keeping lasts.
    File keeping_;
    // None when there was no file.
    Content former_;
    std::vector<std::string> ours_;
};

}  // namespace zuplutil
