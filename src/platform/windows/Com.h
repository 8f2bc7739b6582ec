#pragma once

#include <windows.h>

#include <oaidl.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

/// Owners for what COM hands out: each gives its resource back exactly once.
namespace mv::platform {

/// This thread's membership in a single-threaded apartment, from construction to destruction. All objects of COM must
/// be gone before it. A thread that is in an apartment of another kind already stays there. Where COM cannot be
/// initialised, the creation of the first object says so.
class ComApartment {
 public:
  ComApartment();
  ~ComApartment();
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;

 private:
  bool entered_;
};

/// Holds one reference to an object, or nothing.
template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr& other) : object_(other.object_) {
    if (object_ != nullptr) object_->AddRef();
  }
  ComPtr(ComPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComPtr() {
    if (object_ != nullptr) object_->Release();
  }

  explicit operator bool() const { return object_ != nullptr; }
  Interface* operator->() const { return object_; }
  Interface& operator*() const { return *object_; }
  Interface* Get() const { return object_; }
  /// Where a call stores the reference that it hands out; what was held before is released.
  Interface** Receive() {
    *this = ComPtr();
    return &object_;
  }
  void** ReceiveAny() { return reinterpret_cast<void**>(Receive()); }

 private:
  Interface* object_ = nullptr;
};

/// A text in COM's form: UTF-16 with its length, so that it may hold zeros.
class Bstr {
 public:
  Bstr() = default;
  /// Error 7 when there is no memory for it.
  explicit Bstr(std::string_view utf8);
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  ~Bstr();

  /// For calls that read the text; they do not own it.
  BSTR Get() const { return text_; }
  /// For a call that hands a text out; to be used once, on an empty object.
  BSTR* Receive() { return &text_; }
  /// The caller owns the text from now on.
  BSTR Release() { return std::exchange(text_, nullptr); }
  std::string Utf8() const;

 private:
  BSTR text_ = nullptr;
};

/// The text of a BSTR; a null one is the empty text. A surrogate without its partner becomes U+FFFD.
std::string Utf8FromBstr(BSTR text);

/// A VARIANT with what it owns.
class Variant {
 public:
  Variant();
  explicit Variant(VARIANT owned) : variant_(owned) {}
  Variant(Variant&& other) noexcept;
  Variant& operator=(Variant&& other) noexcept;
  ~Variant();

  static Variant OfLong(LONG number);
  static Variant OfText(std::string_view utf8);
  /// An argument that is left out.
  static Variant Missing();

  /// For calls that read it; they do not own it. Everything in it stays owned by this object.
  const VARIANT& Get() const { return variant_; }
  /// For a call that hands a value out; what was held before is given back.
  VARIANT* Receive();

 private:
  VARIANT variant_;
};

}  // namespace mv::platform
