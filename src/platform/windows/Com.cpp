#include "platform/windows/Com.h"

#include <objbase.h>
#include <oleauto.h>

#include "base/Error.h"
#include "platform/windows/Wide.h"

namespace mv::platform {

ComApartment::ComApartment() : entered_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}

ComApartment::~ComApartment() {
  if (entered_) CoUninitialize();
}

Bstr::Bstr(std::string_view utf8) {
  const std::wstring text = Wide(utf8);
  text_ = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (text_ == nullptr) throw StandardError(errors::kOutOfMemory);
}

Bstr::~Bstr() {
  SysFreeString(text_);
}

std::string Bstr::Utf8() const {
  return Utf8FromBstr(text_);
}

std::string Utf8FromBstr(BSTR text) {
  return Narrow(std::wstring_view(text, SysStringLen(text)));
}

Variant::Variant() {
  VariantInit(&variant_);
}

Variant::Variant(Variant&& other) noexcept : Variant() {
  std::swap(variant_, other.variant_);
}

Variant& Variant::operator=(Variant&& other) noexcept {
  std::swap(variant_, other.variant_);
  return *this;
}

Variant::~Variant() {
  VariantClear(&variant_);
}

Variant Variant::OfLong(LONG number) {
  Variant variant;
  V_VT(&variant.variant_) = VT_I4;
  V_I4(&variant.variant_) = number;
  return variant;
}

Variant Variant::OfText(std::string_view utf8) {
  Bstr text(utf8);
  Variant variant;
  V_VT(&variant.variant_) = VT_BSTR;
  V_BSTR(&variant.variant_) = text.Release();
  return variant;
}

Variant Variant::Missing() {
  Variant variant;
  V_VT(&variant.variant_) = VT_ERROR;
  V_ERROR(&variant.variant_) = DISP_E_PARAMNOTFOUND;
  return variant;
}

VARIANT* Variant::Receive() {
  VariantClear(&variant_);
  return &variant_;
}

}  // namespace mv::platform
