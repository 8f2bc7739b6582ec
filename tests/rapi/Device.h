#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "Published.h"
#include "Script.h"

/// The handheld that the test library pretends to reach: a local folder, the handles open on it, the log of calls and
/// the script of faults. One for each process; every member function takes the lock itself.
class Device {
 public:
  /// Reads the environment: MV_RAPI_ROOT, MV_RAPI_LOG, MV_RAPI_SCRIPT.
  Device();
  ~Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  HRESULT Start(StartUpRecord* record);
  /// Ends the connection and closes what is open. An attempt under way is called off, unless it is a stubborn one.
  HRESULT End();
  HRESULT RapiError();
  DWORD LastError();

  HANDLE FindFirst(const std::wstring& path, DeviceFindData* found);
  BOOL CloseFind(HANDLE find);
  /// `found` gets an array that the caller gives back with FreeBuffer. Of each field only those in `flags` are told.
  BOOL FindAll(const std::wstring& pattern, DWORD flags, DWORD* count, DeviceFindData** found);
  HRESULT FreeBuffer(void* buffer);
  BOOL Version(DeviceVersionInfo* version);
  HANDLE Create(const std::wstring& path, DWORD access, DWORD shareMode, const void* securityAttributes,
                DWORD disposition, DWORD flags, HANDLE templateFile);
  DWORD Size(HANDLE file, DWORD* high);
  BOOL Read(HANDLE file, void* buffer, DWORD bytes, DWORD* bytesRead);
  BOOL Write(HANDLE file, const void* buffer, DWORD bytes, DWORD* bytesWritten);
  BOOL CloseFile(HANDLE file);

 private:
  /// Handles of the API, and what they stand for here.
  using Handles = std::map<HANDLE, HANDLE>;

  static DWORD WINAPI ConnectionThread(void* device);
  void Connect();

  /// One call of the API: waits if the script says so, fails or answers, and writes the line `name arguments ->
  /// answer`. `answer` returns false, with the last error of this thread set, when the device refuses.
  template <typename Answer>
  bool Call(const std::string& name, const std::string& arguments, Answer answer);
  /// False when the script or the connection makes this call fail; the error is noted.
  bool MayAnswer(const std::string& name);
  /// Counts a call and returns its fault, if the script has one for it.
  const Script::Fault* Count(const std::string& name);
  bool Refuse(HRESULT rapiError, DWORD lastError);
  void Log(const std::string& line);
  static HANDLE Find(const Handles& handles, HANDLE handle);

  CRITICAL_SECTION lock_;
  std::wstring root_;
  Script script_;
  std::string scriptError_;  ///< the statement that was not understood; every connection fails then
  HANDLE log_ = INVALID_HANDLE_VALUE;
  std::string outcome_;  ///< of the call being answered, for the log

  std::map<std::string, unsigned> counts_;  ///< calls so far, by name
  bool vanished_ = false;
  HRESULT rapiError_ = 0;
  DWORD lastError_ = 0;
  bool connected_ = false;
  StartUpRecord* record_ = nullptr;
  HANDLE event_ = nullptr;    ///< told to the program
  HANDLE callOff_ = nullptr;  ///< ends the connection's thread early
  HANDLE thread_ = nullptr;
  unsigned lastHandle_ = 0;  ///< number of the last one given out
  Handles files_;
  Handles finds_;
};

/// The one of this process, made by its first call.
Device& TheDevice();
