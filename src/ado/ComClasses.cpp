#include "ado/ComClasses.h"

#include <objbase.h>

namespace mv::ado {

HRESULT SystemComClasses::Create(const GUID& classId, const GUID& interfaceId, void** object) {
  return CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, interfaceId, object);
}

}  // namespace mv::ado
