#include "run/CurrentError.h"

#include <new>

namespace mv {

Error CurrentError() {
  try {
    throw;
  } catch (const Error& error) {
    return error;
  } catch (const std::bad_alloc&) {
    return StandardError(errors::kOutOfMemory);
  } catch (...) {
    return StandardError(errors::kInternalError);
  }
}

}  // namespace mv
