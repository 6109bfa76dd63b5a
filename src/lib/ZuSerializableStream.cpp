// A source of its own: only where it is called are string streams linked.
#include <locale>
#include <sstream>

#include "ZuSerializable.h"

namespace zustd {

void detail::appendWritten(const ISerializable& source, std::wstring& text) {
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    source.writeXml(stream);
    text += stream.str();
}

}  // namespace zustd
