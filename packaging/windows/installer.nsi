; The installer for Windows; build-installer gives VERSION, PROGRAMS_X64, PROGRAMS_X86, NOTES and OUT.
; TARGET_CPU: x86-unicode, which runs on every Windows from XP on, or amd64-unicode, which is for tests where 32-bit
; programs cannot run.
!ifndef TARGET_CPU
  !define TARGET_CPU x86-unicode
!endif
Target ${TARGET_CPU}
Unicode true
!if ${TARGET_CPU} == amd64-unicode
  ; RunningX64 is a constant then, so that its branches for other systems are never reached.
  !pragma warning disable 6012
  SetCompressor zlib
!else
  SetCompressor /SOLID lzma
!endif
; The same files give the same bytes.
SetDateSave off
ManifestDPIAware true

!define NAME "MVPPCSync"
!define TITLE "Database Synchronization Utility"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${NAME}"
!define AUTOSTART_KEY "Software\Microsoft\Windows CE Services\AutoStartOnConnect"
!define AUTOSTART_VALUE "Brindle Software"

!define MULTIUSER_EXECUTIONLEVEL Highest
!define MULTIUSER_MUI
!define MULTIUSER_INSTALLMODE_COMMANDLINE
!define MULTIUSER_INSTALLMODE_INSTDIR "${NAME}"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_KEY "${UNINSTALL_KEY}"
!define MULTIUSER_INSTALLMODE_DEFAULT_REGISTRY_VALUENAME "InstallMode"
!define MULTIUSER_INSTALLMODE_FUNCTION ChooseFolder

!include MultiUser.nsh
!include MUI2.nsh
!include x64.nsh
!include FileFunc.nsh
!include LogicLib.nsh

Name "${NAME}"
OutFile "${OUT}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${NAME}"
VIAddVersionKey "FileDescription" "${TITLE}, installer"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" ""

!define MUI_FINISHPAGE_SHOWREADME "$INSTDIR\README.txt"
!define MUI_FINISHPAGE_SHOWREADME_NOTCHECKED
!insertmacro MULTIUSER_PAGE_INSTALLMODE
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Var Programs ; "x64" or "x86"
Var GivenFolder ; of the option /D

; Which programs: those for the system, unless /X86 asks for the others, which a 32-bit rapi.dll needs.
!macro CHOOSE_VIEW
  ${If} ${RunningX64}
    SetRegView 64
  ${EndIf}
!macroend

Function .onInit
  StrCpy $GivenFolder $INSTDIR
  !insertmacro CHOOSE_VIEW
  StrCpy $Programs "x86"
  ${If} ${RunningX64}
    StrCpy $Programs "x64"
  ${EndIf}
  ${GetParameters} $R0
  ClearErrors
  ${GetOptions} $R0 "/X86" $R1
  ${IfNot} ${Errors}
    StrCpy $Programs "x86"
  ${EndIf}
  !insertmacro MULTIUSER_INIT
FunctionEnd

; For the chosen users: where it is installed already, else where programs belong; /D=FOLDER goes before both.
Function ChooseFolder
  ${If} $GivenFolder != ""
    StrCpy $INSTDIR $GivenFolder
    Return
  ${EndIf}
  ReadRegStr $0 SHCTX "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $0 != ""
    StrCpy $INSTDIR $0
  ${ElseIf} $MultiUser.InstallMode == "AllUsers"
    StrCpy $INSTDIR "$PROGRAMFILES32\${NAME}"
    ${If} $Programs == "x64"
      StrCpy $INSTDIR "$PROGRAMFILES64\${NAME}"
    ${EndIf}
  ${Else}
    StrCpy $INSTDIR "$LOCALAPPDATA\${NAME}"
  ${EndIf}
FunctionEnd

Section
  SetOutPath "$INSTDIR"
  ${If} $Programs == "x64"
    File "${PROGRAMS_X64}/MVPPCSync.exe"
    File "${PROGRAMS_X64}/mvtool.exe"
  ${Else}
    File "${PROGRAMS_X86}/MVPPCSync.exe"
    File "${PROGRAMS_X86}/mvtool.exe"
  ${EndIf}
  File "${NOTES}/README.txt"
  File "${NOTES}/licence-json.txt"
  ; A template may be the user's own, made from a database with columns of its own.
  ${IfNot} ${FileExists} "$INSTDIR\_20"
    File "${PROGRAMS_X86}/_20"
    ${GetTime} "$INSTDIR\_20" "MS" $0 $1 $2 $3 $4 $5 $6
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "TemplateWritten" "$2-$1-$0 $4:$5:$6"
  ${EndIf}

  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "${NAME} - ${TITLE}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\MVPPCSync.exe"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallMode" "$MultiUser.InstallMode"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode'
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode /S'
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "EstimatedSize" $0

  CreateDirectory "$SMPROGRAMS\${NAME}"
  SetOutPath "$INSTDIR"
  CreateShortcut "$SMPROGRAMS\${NAME}\${NAME}.lnk" "$INSTDIR\MVPPCSync.exe"
  CreateShortcut "$SMPROGRAMS\${NAME}\Read me.lnk" "$INSTDIR\README.txt"
  CreateShortcut "$SMPROGRAMS\${NAME}\Uninstall.lnk" "$INSTDIR\uninstall.exe" "/$MultiUser.InstallMode"
SectionEnd

Function un.onInit
  !insertmacro CHOOSE_VIEW
  !insertmacro MULTIUSER_UNINIT
FunctionEnd

; Takes away what the installer has put there and nothing else: databases, logs, histories and settings stay, and so do
; the folder and a template that are not as they were.
Section "Uninstall"
  ReadRegStr $R0 SHCTX "${UNINSTALL_KEY}" "TemplateWritten"
  ${un.GetTime} "$INSTDIR\_20" "MS" $0 $1 $2 $3 $4 $5 $6
  ${If} $R0 == "$2-$1-$0 $4:$5:$6"
    Delete "$INSTDIR\_20"
  ${EndIf}
  Delete "$INSTDIR\MVPPCSync.exe"
  Delete "$INSTDIR\mvtool.exe"
  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\licence-json.txt"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\${NAME}\${NAME}.lnk"
  Delete "$SMPROGRAMS\${NAME}\Read me.lnk"
  Delete "$SMPROGRAMS\${NAME}\Uninstall.lnk"
  RMDir "$SMPROGRAMS\${NAME}"
  ; When a handheld connects nothing is to be started that is gone.
  ReadRegStr $R1 HKLM "${AUTOSTART_KEY}" "${AUTOSTART_VALUE}"
  ${UnStrStr} $R2 $R1 "$INSTDIR\MVPPCSync.exe"
  ${If} $R2 != ""
    DeleteRegValue HKLM "${AUTOSTART_KEY}" "${AUTOSTART_VALUE}"
  ${EndIf}
  DeleteRegKey SHCTX "${UNINSTALL_KEY}"
SectionEnd
