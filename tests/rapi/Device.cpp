#include "Device.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <vector>

namespace {

constexpr HRESULT kTransportFailed = E_FAIL;
/// Handles do not fit into 32 bits where a handle is wider than that: who cuts one must be found out.
constexpr std::uintptr_t kFirstHandle =
    sizeof(void*) == 8 ? (std::uintptr_t{1} << (sizeof(void*) * 4)) + 0x1000 : 0x1000;

class Locked {
 public:
  explicit Locked(CRITICAL_SECTION& lock) : lock_(lock) { ::EnterCriticalSection(&lock_); }
  ~Locked() { ::LeaveCriticalSection(&lock_); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

 private:
  CRITICAL_SECTION& lock_;
};

std::wstring Environment(const wchar_t* name) {
  std::wstring value(::GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  value.resize(::GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return value;
}

std::string Utf8(const std::wstring& text) {
  const int size = static_cast<int>(text.size());
  std::string utf8(3 * text.size(), '\0');
  const int used = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), size, utf8.data(), static_cast<int>(utf8.size()),
                                         nullptr, nullptr);
  utf8.resize(static_cast<std::size_t>(used));
  return utf8;
}

std::string Hex(std::uintptr_t number) {
  char text[24];
  std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(number));
  return text;
}

std::string Hex(HRESULT result) {
  return Hex(std::uintptr_t{static_cast<DWORD>(result)});
}

/// Of the process. Windows XP tells it only in exchange for another.
UINT ErrorMode() {
  const UINT mode = ::SetErrorMode(0);
  ::SetErrorMode(mode);
  return mode;
}

/// A thread that nobody waits for runs in this library.
void StayLoaded() {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&StayLoaded), &module);
}

HANDLE HandleOf(unsigned number) {
  return reinterpret_cast<HANDLE>(kFirstHandle + number);
}

std::string Text(HANDLE handle) {
  return handle == INVALID_HANDLE_VALUE ? "invalid"
                                        : "#" + std::to_string(reinterpret_cast<std::uintptr_t>(handle) - kFirstHandle);
}

std::string Text(DWORD number) {
  return std::to_string(number);
}

/// To the last byte: a record that is too short in the program must show.
DeviceFindData RecordOf(const WIN32_FIND_DATAW& local) {
  DeviceFindData record = {local.dwFileAttributes,
                           local.ftCreationTime,
                           local.ftLastAccessTime,
                           local.ftLastWriteTime,
                           local.nFileSizeHigh,
                           local.nFileSizeLow,
                           0x01000001,
                           {}};
  std::copy(std::begin(local.cFileName), std::end(local.cFileName), record.cFileName);
  return record;
}

/// What was not asked for is not told.
DeviceFindData Told(DeviceFindData record, DWORD flags) {
  if ((flags & 0x01) == 0) record.dwFileAttributes = 0;
  if ((flags & 0x02) == 0) record.ftCreationTime = {};
  if ((flags & 0x04) == 0) record.ftLastAccessTime = {};
  if ((flags & 0x08) == 0) record.ftLastWriteTime = {};
  if ((flags & 0x10) == 0) record.nFileSizeHigh = 0;
  if ((flags & 0x20) == 0) record.nFileSizeLow = 0;
  if ((flags & 0x40) == 0) record.dwOID = 0;
  if ((flags & 0x80) == 0) record.cFileName[0] = L'\0';
  return record;
}

bool IsDotName(const wchar_t* name) {
  return ::lstrcmpW(name, L".") == 0 || ::lstrcmpW(name, L"..") == 0;
}

}  // namespace

Device::Device() : root_(Environment(L"MV_RAPI_ROOT")) {
  ::InitializeCriticalSection(&lock_);
  if (const std::wstring log = Environment(L"MV_RAPI_LOG"); !log.empty()) {
    log_ = ::CreateFileW(log.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                         OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  try {
    script_ = Script::Parse(Utf8(Environment(L"MV_RAPI_SCRIPT")));
  } catch (const std::runtime_error& error) {
    scriptError_ = error.what();
    Log("not understood in MV_RAPI_SCRIPT: " + scriptError_);
  }
}

Device::~Device() {
  ::CloseHandle(log_);
  ::DeleteCriticalSection(&lock_);
}

void Device::Log(const std::string& line) {
  const std::string text = line + "\n";
  DWORD written = 0;
  ::WriteFile(log_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

// ---- Connection

HRESULT Device::Start(StartUpRecord* record) {
  const Locked locked(lock_);
  if (script_.tellErrorMode) Log("error mode " + Hex(std::uintptr_t{ErrorMode()}));
  const std::string call = "CeRapiInitEx " + Text(record->cbSize) + " -> ";
  HRESULT result = 0;
  const Script::Fault* fault = Count("CeRapiInitEx");
  if (fault != nullptr) result = fault->rapiError != 0 ? fault->rapiError : kTransportFailed;
  if (script_.recordSize.value_or(record->cbSize) != record->cbSize) result = E_INVALIDARG;
  if (!scriptError_.empty()) result = E_UNEXPECTED;
  Log(call + Hex(result));
  if (result != 0) return result;
  record_ = record;
  event_ = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  callOff_ = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  record->heRapiInit = script_.badEvent ? nullptr : event_;
  record->hrRapiInit = script_.resultAtOnce;
  if (script_.stubborn) StayLoaded();
  thread_ = ::CreateThread(nullptr, 0, ConnectionThread, this, 0, nullptr);
  return 0;
}

DWORD WINAPI Device::ConnectionThread(void* device) {
  static_cast<Device*>(device)->Connect();
  return 0;
}

void Device::Connect() {
  const bool calledOff = ::WaitForSingleObject(callOff_, script_.signalDelay.value_or(INFINITE)) == WAIT_OBJECT_0;
  if (calledOff) return;
  const Locked locked(lock_);
  const HRESULT result = vanished_ ? kTransportFailed : script_.resultLate;
  connected_ = result == 0 && script_.resultAtOnce == 0;
  if (script_.resultAtOnce == 0) record_->hrRapiInit = result;
  Log("connection -> " + Hex(record_->hrRapiInit));
  ::SetEvent(event_);
}

HRESULT Device::End() {
  if (thread_ != nullptr && !script_.stubborn) {
    ::SetEvent(callOff_);
    ::WaitForSingleObject(thread_, INFINITE);  // before the lock is taken: the thread may want it
  }
  const Locked locked(lock_);
  Log("CeRapiUninit -> 0, files left open: " + std::to_string(files_.size()) +
      ", finds left open: " + std::to_string(finds_.size()));
  for (const auto& [handle, file] : files_) ::CloseHandle(file);
  for (const auto& [handle, find] : finds_) ::FindClose(find);
  files_.clear();
  finds_.clear();
  connected_ = false;
  rapiError_ = 0;
  if (script_.stubborn) return 0;
  for (HANDLE* handle : {&event_, &callOff_, &thread_}) {
    if (*handle != nullptr) ::CloseHandle(*handle);
    *handle = nullptr;
  }
  return 0;
}

HRESULT Device::RapiError() {
  const Locked locked(lock_);
  Log("CeRapiGetError -> " + Hex(rapiError_));
  return rapiError_;
}

DWORD Device::LastError() {
  const Locked locked(lock_);
  Log("CeGetLastError -> " + Text(lastError_));
  return lastError_;
}

// ---- Calls of the device

const Script::Fault* Device::Count(const std::string& name) {
  const unsigned count = ++counts_[name];
  if (script_.vanishesAt == std::pair(name, count)) vanished_ = true;
  return script_.FaultOf(name, count);
}

bool Device::Refuse(HRESULT rapiError, DWORD lastError) {
  rapiError_ = rapiError;
  lastError_ = lastError;
  return false;
}

bool Device::MayAnswer(const std::string& name) {
  const Script::Fault* fault = Count(name);
  if (!connected_ || vanished_) return Refuse(kTransportFailed, ERROR_CONNECTION_ABORTED);
  return fault == nullptr || Refuse(fault->rapiError, ERROR_ACCESS_DENIED);
}

template <typename Answer>
bool Device::Call(const std::string& name, const std::string& arguments, Answer answer) {
  ::Sleep(script_.delayPerCall);
  const Locked locked(lock_);
  bool answered = MayAnswer(name);
  if (answered) {
    rapiError_ = 0;
    answered = answer();
    lastError_ = answered ? ERROR_SUCCESS : ::GetLastError();
  }
  if (!answered && rapiError_ != 0) outcome_ = "failed, transport " + Hex(rapiError_);
  if (!answered && rapiError_ == 0) outcome_ = "failed, error " + Text(lastError_);
  Log(name + " " + arguments + " -> " + outcome_);
  return answered;
}

HANDLE Device::Find(const Handles& handles, HANDLE handle) {
  const auto found = handles.find(handle);
  if (found != handles.end()) return found->second;
  ::SetLastError(ERROR_INVALID_HANDLE);
  return nullptr;
}

HANDLE Device::FindFirst(const std::wstring& path, DeviceFindData* found) {
  HANDLE result = INVALID_HANDLE_VALUE;
  Call("CeFindFirstFile", Utf8(path), [&] {
    WIN32_FIND_DATAW local = {};
    const HANDLE find = ::FindFirstFileW((root_ + path).c_str(), &local);
    if (find == INVALID_HANDLE_VALUE) return false;
    *found = RecordOf(local);
    result = HandleOf(++lastHandle_);
    finds_[result] = find;
    outcome_ = Text(result);
    return true;
  });
  return result;
}

BOOL Device::CloseFind(HANDLE find) {
  return Call("CeFindClose", Text(find), [&] {
    const HANDLE local = Find(finds_, find);
    if (local == nullptr) return false;
    finds_.erase(find);
    outcome_ = "1";
    return ::FindClose(local) != 0;
  });
}

BOOL Device::FindAll(const std::wstring& pattern, DWORD flags, DWORD* count, DeviceFindData** found) {
  *count = 0;
  *found = nullptr;
  return Call("CeFindAllFiles", Utf8(pattern) + " " + Hex(std::uintptr_t{flags}), [&] {
    WIN32_FIND_DATAW local = {};
    const HANDLE find = ::FindFirstFileW((root_ + pattern).c_str(), &local);
    if (find == INVALID_HANDLE_VALUE) return false;
    std::vector<DeviceFindData> records;
    do {
      if (!IsDotName(local.cFileName)) records.push_back(Told(RecordOf(local), flags));
    } while (::FindNextFileW(find, &local));
    ::FindClose(find);
    outcome_ = Text(static_cast<DWORD>(records.size()));
    if (records.empty()) return true;
    *found = static_cast<DeviceFindData*>(::LocalAlloc(LMEM_FIXED, records.size() * sizeof(DeviceFindData)));
    std::copy(records.begin(), records.end(), *found);
    *count = static_cast<DWORD>(records.size());
    return true;
  });
}

HRESULT Device::FreeBuffer(void* buffer) {
  const Locked locked(lock_);
  Log("CeRapiFreeBuffer");
  ::LocalFree(buffer);
  return S_OK;
}

BOOL Device::Version(DeviceVersionInfo* version) {
  return Call("CeGetVersionEx", Text(version->dwOSVersionInfoSize), [&] {
    *version = {sizeof *version, 4, 20, 1081, 3, {}};
    outcome_ = "4.20.1081";
    return true;
  });
}

HANDLE Device::Create(const std::wstring& path, DWORD access, DWORD shareMode, const void* securityAttributes,
                      DWORD disposition, DWORD flags, HANDLE templateFile) {
  HANDLE result = INVALID_HANDLE_VALUE;
  std::string arguments = Utf8(path);
  for (const std::uintptr_t number :
       {std::uintptr_t{access}, std::uintptr_t{shareMode}, reinterpret_cast<std::uintptr_t>(securityAttributes),
        std::uintptr_t{disposition}, std::uintptr_t{flags}, reinterpret_cast<std::uintptr_t>(templateFile)}) {
    arguments += " " + Hex(number);
  }
  Call("CeCreateFile", arguments, [&] {
    const HANDLE file = ::CreateFileW((root_ + path).c_str(), access, shareMode, nullptr, disposition, flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    result = HandleOf(++lastHandle_);
    files_[result] = file;
    outcome_ = Text(result);
    return true;
  });
  return result;
}

DWORD Device::Size(HANDLE file, DWORD* high) {
  DWORD size = INVALID_FILE_SIZE;
  Call("CeGetFileSize", Text(file), [&] {
    const HANDLE local = Find(files_, file);
    if (local == nullptr) return false;
    size = ::GetFileSize(local, high);
    outcome_ = Text(size);
    return true;
  });
  return size;
}

BOOL Device::Read(HANDLE file, void* buffer, DWORD bytes, DWORD* bytesRead) {
  return Call("CeReadFile", Text(file) + " " + Text(bytes), [&] {
    const HANDLE local = Find(files_, file);
    if (local == nullptr || !::ReadFile(local, buffer, bytes, bytesRead, nullptr)) return false;
    outcome_ = Text(*bytesRead);
    return true;
  });
}

BOOL Device::Write(HANDLE file, const void* buffer, DWORD bytes, DWORD* bytesWritten) {
  return Call("CeWriteFile", Text(file) + " " + Text(bytes), [&] {
    const HANDLE local = Find(files_, file);
    const DWORD taken = script_.shortWrites ? bytes / 2 : bytes;
    if (local == nullptr || !::WriteFile(local, buffer, taken, bytesWritten, nullptr)) return false;
    outcome_ = Text(*bytesWritten);
    return true;
  });
}

BOOL Device::CloseFile(HANDLE file) {
  return Call("CeCloseHandle", Text(file), [&] {
    const HANDLE local = Find(files_, file);
    if (local == nullptr) return false;
    files_.erase(file);
    outcome_ = "1";
    return ::CloseHandle(local) != 0;
  });
}

Device& TheDevice() {
  static Device device;
  return device;
}
