// The bridge between portable objects and the platform's backends.
//
// A portable object derives from Abstraction<I> and owns its backend; the backend
// derives from Implementation<A, I> and holds only a way back. I lists what the
// portable half asks of a backend, which learns everything else by reading the
// portable object when it is told to synchronise.
//
// Destroying the portable object destroys the backend first: the destructor of
// every class that derives from Abstraction<I> begins with
// releaseImplementation(), for members and the other bases are gone before this
// base is. So a backend sees the portable class whole to its own end; only what
// a class derived from that one has added is gone already.
#pragma once

#include <memory>

#include "ZuPlankton.h"

namespace zustd {

// The root of every backend object. Slot order is fixed.
class IImplementation {
public:
    IImplementation& operator=(IImplementation&&) = delete;
    virtual ~IImplementation() = default;

    // Pushes the portable object's state into the native object, making the
    // native object on first use. May be called again at any time; lets no
    // exception out.
    virtual void synchronizeWithAbstraction() {}
    // Gives the native object back early; the next synchronisation makes it
    // anew.
    virtual void releaseNativeObject() {}
    // Whether there is a native object now.
    virtual bool hasNativeObject() const { return false; }
};

// The base of every interface that lists what a portable class asks of its
// backend.
class IBackend {
public:
    IBackend& operator=(IBackend&&) = delete;
    virtual ~IBackend() = default;
};

template <class A, class I>
class Implementation;

// The portable side.
template <class I>
class Abstraction {
public:
    Abstraction& operator=(Abstraction&&) = delete;
    virtual ~Abstraction() = default;

    bool hasImplementation() const noexcept { return impl_ != nullptr; }

    // The backend, typed. Fails the assertion "impl_" when there is none or
    // when it does not implement I.
    I& implementation() const {
        I* typed = dynamic_cast<I*>(impl_.get());
        ZU_ASSERT_AS(typed, L"impl_", ZU_HERE);
        return *typed;
    }

    // The same untyped, whatever it implements; null when there is none.
    IImplementation* untypedImplementation() const noexcept { return impl_.get(); }

    // Pushes this object's state to the screen; does nothing without backend.
    void synchronize() const {
        if (impl_) {
            impl_->synchronizeWithAbstraction();
        }
    }

protected:
    // Gives the native object back while the backend is whole, then destroys
    // the backend.
    void releaseImplementation() noexcept {
        if (impl_) {
            guarded(ZU_OPERATION, [this] { impl_->releaseNativeObject(); });
            impl_.reset();
        }
    }

private:
    template <class A, class B>
    friend void joinImplementation(A& abstraction, std::unique_ptr<B> implementation);

    std::unique_ptr<IImplementation> impl_;
};

// The backend side.
template <class A, class I>
class Implementation : public I, public IImplementation {
public:
    // The portable object. Fails the assertion "abstraction_ != 0" as long as
    // the pair is not joined.
    A& getAbstraction() const {
        ZU_ASSERT_AS(abstraction_ != nullptr, L"abstraction_ != 0", ZU_LINE(60));
        return *abstraction_;
    }

private:
    template <class P, class B>
    friend void joinImplementation(P& abstraction, std::unique_ptr<B> implementation);

    A* abstraction_ = nullptr;
};

// Gives a backend to its portable object; a former backend is destroyed. Fails
// the assertion "implementation" when there is none, and keeps the former one.
template <class A, class B>
void joinImplementation(A& abstraction, std::unique_ptr<B> implementation) {
    ZU_ASSERT(implementation);
    abstraction.releaseImplementation();
    implementation->abstraction_ = &abstraction;
    abstraction.impl_ = std::move(implementation);
}

}  // namespace zustd
