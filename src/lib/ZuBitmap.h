// An image that can be drawn: a resource joined to the platform's bitmap.
//
// Bitmaps come from WindowService::getBitmap, which keeps one a resource and size. The image itself
// is found when the backend synchronises; a resource that is missing or unreadable leaves the
// bitmap without an image, which draws nothing.
#pragma once

#include "ZuAbstraction.h"
#include "ZuDescriptors.h"

namespace zustd {

// Marker: a backend has no operations of its own.
class IBitmapImpl : public IBackend {};

class Bitmap : public Abstraction<IBitmapImpl>, public SharedObject {
public:
    // The size is in pixels of the screen; an empty one asks for the image's own.
    Bitmap(ResourceDescriptor resource, Size size) : resource_(resource), size_(size) {}
    ~Bitmap() override { releaseImplementation(); }

    const ResourceDescriptor& resource() const noexcept { return resource_; }
    // What is drawn; known at the latest after synchronisation.
    Size size() const noexcept { return size_; }
    // For the backend, which reads the image's own size.
    void acceptSize(Size size) noexcept { size_ = size; }

private:
    ResourceDescriptor resource_;
    Size size_;
};

}  // namespace zustd
