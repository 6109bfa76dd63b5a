#include "ZuDescriptors.h"

#include "ZuResourceService.h"

namespace zustd {

namespace {

// Assigns and announces; whether there was a change.
template <class T>
bool assign(ChangeTracker& tracker, T& field, const T& value, const wchar_t* name) {
    if (field == value) {
        return false;
    }
    field = value;
    tracker.announcePropertyChanged(name, false);
    return true;
}

}  // namespace

bool FontDescriptor::setStyle(const FontStyle& style) {
    return assign(*this, style_, style, L"style");
}

bool FontDescriptor::setUnderline(bool underline) {
    return assign(*this, style_.underline, underline, L"underline");
}

bool FontDescriptor::setBold(bool bold) { return assign(*this, style_.bold, bold, L"bold"); }

bool FontDescriptor::setItalic(bool italic) {
    return assign(*this, style_.italic, italic, L"italic");
}

bool FontDescriptor::setSize(std::int32_t points) {
    return assign(*this, style_.size, points, L"size");
}

bool FontDescriptor::setFaceName(const std::wstring& faceName) {
    return assign(*this, style_.faceName, faceName, L"faceName");
}

bool FontDescriptor::reset() {
    FontStyle plain;
    plain.faceName = style_.faceName;
    return setStyle(plain);
}

std::wstring TextDescriptor::text(const ServiceLocator& locator) const {
    if (resource_.identifier == 0) {
        return literal_;
    }
    const auto resources = locator.getService<IResourceService>();
    return resources ? shownString(*resources, resource_.identifier) : std::wstring();
}

bool TextDescriptor::setLiteral(const std::wstring& text) {
    if (resource_.identifier == 0 && literal_ == text) {
        return false;
    }
    resource_ = {};
    literal_ = text;
    announcePropertyChanged(L"text", false);
    return true;
}

bool TextDescriptor::setIdentifier(std::uint64_t identifier) {
    const ResourceDescriptor resource{identifier, ResourceKind::kString};
    if (resource_ == resource) {
        return false;
    }
    literal_.clear();
    resource_ = resource;
    announcePropertyChanged(L"text", false);
    return true;
}

Color ColorsDescriptor::color(ColorRole role) const noexcept {
    return colors_[static_cast<std::size_t>(role)];
}

bool ColorsDescriptor::setColor(ColorRole role, Color color) {
    return assign(*this, colors_[static_cast<std::size_t>(role)], color, L"color");
}

bool BitmapDescriptor::setIdentifier(std::uint64_t identifier) {
    return assign(*this, resource_, ResourceDescriptor{identifier, ResourceKind::kBitmap},
                  L"identifier");
}

bool BitmapDescriptor::setSize(Size size) { return assign(*this, size_, size, L"size"); }

bool BitmapListDescriptor::setSize(Size size) { return assign(*this, size_, size, L"size"); }

}  // namespace zustd
