#pragma once

#include "platform/windows/Com.h"

namespace mv::ado {

// The owners of what COM hands out.
using platform::Bstr;
using platform::ComApartment;
using platform::ComPtr;
using platform::Utf8FromBstr;
using platform::Variant;

/// Creates objects of registered classes; a seam, so that tests bring their own.
class ComClasses {
 public:
  virtual ~ComClasses() = default;
  virtual HRESULT Create(const GUID& classId, const GUID& interfaceId, void** object) = 0;
};

/// The classes that are registered on this PC and live in this process.
class SystemComClasses : public ComClasses {
 public:
  HRESULT Create(const GUID& classId, const GUID& interfaceId, void** object) override;
};

}  // namespace mv::ado
