; The installer for 64-bit Windows: packaging/package.py runs makensis on it with VERSION, OUTPUT, STAGE, HELPER_PROGRAM, LISTS and
; SIZE_PRODUCT, SIZE_SIMULATOR (in kB) defined. LISTS holds the macros that install and remove every single file.
;
; /S                 asks nothing
; /D=FOLDER          installs there; the last option, without quotes
; /SIMULATED=0 or 1  without or with the simulated camera library
; /ANSWERS=classic or standard  the module that programs find; without it the one of the installation that is there, or
;                    else classic
;
; Other options, and other values, are refused. Why it fails is written into NorvelTL-setup.log in the user's folder for
; temporary files, too.
;
; Exit code: 0 done, 1 cancelled, 2 failed, 32 a file is in use and nothing was changed, 3010 removed but for files in
; use, which go when Windows restarts.

Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
AllowSkipFiles off
ManifestDPIAware true
RequestExecutionLevel admin

!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh
!include nsDialogs.nsh
!include "${LISTS}"

!define REGISTRATION "Software\Microsoft\Windows\CurrentVersion\Uninstall\NorvelTL"
!define START_MENU "$SMPROGRAMS\NorvelTL"
!define FAILED 2
!define IN_USE 32
!define RESTART_NEEDED 3010

Name "NorvelTL ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\NorvelTL"
InstallDirRegKey HKLM "${REGISTRATION}" "InstallLocation"
BrandingText " "

VIProductVersion "${VERSION}"
VIFileVersion "${VERSION}"
VIAddVersionKey CompanyName "Norvel"
VIAddVersionKey FileDescription "NorvelTL installer"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey LegalCopyright "The NorvelTL authors"
VIAddVersionKey ProductName "NorvelTL"
VIAddVersionKey ProductVersion "${VERSION}"

!define MUI_ABORTWARNING
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_LICENSE "${STAGE}/LICENSE"
!define MUI_PAGE_CUSTOMFUNCTION_LEAVE SelectSimulator
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_COMPONENTS
Page custom ShowAnswers TakeAnswers
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_TEXT "NorvelTL ${VERSION} has been installed on your computer.$\r$\n$\r$\nPrograms that run \
already find it after they are started again. $\"norveltl list$\", in a new window, shows the cameras, and which camera \
library they come from: the maker's, or the simulated one.$\r$\n$\r$\nThe Start menu has the documents, and a prompt for norveltl.$\r$\n$\r$\n\
Click Finish to close Setup."
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

Var options
Var old       ; the folder of the installation that is there, or nothing
Var answers   ; "classic" or "standard"
Var choice    ; what the page asks it with
Var answer    ; exit code of the helper
Var said      ; what it printed
Var failure   ; what went wrong, or nothing
Var log
Var made      ; the topmost of the folders that were made for this installation

; Fail TEXT CODE: tells it, to the log alone when nobody is to be asked, and ends with the code.
!macro Fail text code
  FileOpen $log "$TEMP\NorvelTL-setup.log" w
  FileWriteUTF16LE /BOM $log "${text}$\r$\n"
  FileClose $log
  MessageBox MB_OK|MB_ICONSTOP "${text}" /SD IDOK
  SetErrorLevel ${code}
  Quit
!macroend
!define Fail "!insertmacro Fail"

; Helper ARGUMENTS: runs norveltl-environment.exe; the exit code is in $answer.
!macro Helper arguments
  nsExec::ExecToStack '"$PLUGINSDIR\norveltl-environment.exe" ${arguments}'
  Pop $answer
  Pop $said
!macroend
!define Helper "!insertmacro Helper"

!macro UnpackHelper
  InitPluginsDir
  File "/oname=$PLUGINSDIR\norveltl-environment.exe" "${HELPER_PROGRAM}"
!macroend

; Forget: takes a folder of ours out of one of the machine's variables.
!macro Forget variable folder
  ${Helper} 'remove ${variable} "${folder}"'
  ${If} $answer != 0
    StrCpy $failure "The machine's variable ${variable} could not be changed.$\n$\n$said"
  ${EndIf}
!macroend

; RemoveParents FOLDER TOP: the folders above one, up to the one that was made first, as far as they are empty.
!macro RemoveParents folder top
  StrCpy $0 "${folder}"
  ${If} "${top}" != ""
    ${DoUntil} $0 == "${top}"
      ${GetParent} $0 $0
      ${If} $0 == ""
        ${ExitDo}
      ${EndIf}
      RMDir $0
      ${If} ${RebootFlag}
        RMDir /REBOOTOK $0
      ${EndIf}
    ${Loop}
  ${EndIf}
!macroend

; IsInUse FILE RESULT: 1 when the file can be opened by nobody else than the program that has loaded it.
!macro IsInUse file result
  StrCpy ${result} 0
  ${If} ${FileExists} "${file}"
    ClearErrors
    FileOpen ${result} "${file}" a
    ${If} ${Errors}
      StrCpy ${result} 1
    ${Else}
      FileClose ${result}
      StrCpy ${result} 0
    ${EndIf}
  ${EndIf}
!macroend

!macro DefineIsBusy un
; $R0: whether the programs of the installation in $R1 are in use
Function ${un}IsBusy
  !insertmacro IsInUse "$R1\bin\NorvelTL40.cti" $R0
  ${If} $R0 == 0
    !insertmacro IsInUse "$R1\bin\standard\NorvelTL40-standard.cti" $R0
  ${EndIf}
  ${If} $R0 == 0
    !insertmacro IsInUse "$R1\bin\norveltl.exe" $R0
  ${EndIf}
FunctionEnd
!macroend
!insertmacro DefineIsBusy ""
!insertmacro DefineIsBusy "un."

; Nothing may be in use, and what is there goes, before the first file comes.
Section "-Preparation"
  ${ForEach} $0 1 2 + 1
    StrCpy $R1 $INSTDIR
    ${If} $0 == 2
    ${AndIf} $old != ""
      StrCpy $R1 $old
    ${EndIf}
    again:
    Call IsBusy
    ${If} $R0 != 0
      MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION \
        "A running program has loaded NorvelTL from $R1.$\n$\nClose the programs that use cameras and choose Retry." \
        /SD IDCANCEL IDRETRY again
      SetErrorLevel ${IN_USE}
      Quit
    ${EndIf}
  ${Next}
  ReadRegStr $made HKLM "${REGISTRATION}" "MadeFolder"
  ${If} $old != ""
  ${AndIf} ${FileExists} "$old\uninstall.exe"
    ExecWait '"$old\uninstall.exe" /S /ANSWERS=$answers /REPLACED_BY=$INSTDIR _?=$old' $0
    ${If} $0 != 0
      ${Fail} "The installed version of NorvelTL could not be removed from $old." ${FAILED}
    ${EndIf}
    Delete "$old\uninstall.exe"
    RMDir "$old"
  ${EndIf}
  ${If} $old != $INSTDIR
    !insertmacro RemoveParents $old $made
    StrCpy $made ""
  ${EndIf}
  Call LookWhatIsMissing
SectionEnd

Section "NorvelTL" product
  SectionIn RO
  !insertmacro InstallProduct
SectionEnd

Section "Simulated camera library" simulator
  StrCpy $answer 0
  ${If} ${FileExists} "$INSTDIR\bin\Optivo40.dll"
    ${Helper} 'is-simulated "$INSTDIR\bin\Optivo40.dll"'
  ${EndIf}
  ${If} $answer == 0
    !insertmacro InstallSimulator
  ${Else}
    DetailPrint "$INSTDIR\bin\Optivo40.dll is not the simulated one and stays."
    !insertmacro UnselectSection ${simulator}
  ${EndIf}
SectionEnd

Section "-StartMenu"
  SetShellVarContext all
  CreateDirectory "${START_MENU}"
  StrCpy $OUTDIR "%USERPROFILE%" ; where the programs start
  CreateShortCut "${START_MENU}\NorvelTL prompt.lnk" "$SYSDIR\cmd.exe" '/k ""$INSTDIR\bin\norveltl.exe" --help"'
  CreateShortCut "${START_MENU}\NorvelTL documents.lnk" "$INSTDIR\docs\README.html"
  SetOutPath $INSTDIR
SectionEnd

Section "-Registration"
  ClearErrors
  WriteUninstaller "$INSTDIR\uninstall.exe"
  StrCpy $0 ${SIZE_PRODUCT}
  StrCpy $1 0
  ${If} ${SectionIsSelected} ${simulator}
    IntOp $0 $0 + ${SIZE_SIMULATOR}
    StrCpy $1 1
  ${EndIf}
  WriteRegStr HKLM "${REGISTRATION}" "DisplayName" "NorvelTL"
  WriteRegStr HKLM "${REGISTRATION}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${REGISTRATION}" "DisplayIcon" "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${REGISTRATION}" "Publisher" "Norvel"
  WriteRegStr HKLM "${REGISTRATION}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${REGISTRATION}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${REGISTRATION}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${REGISTRATION}" "EstimatedSize" $0
  WriteRegDWORD HKLM "${REGISTRATION}" "SimulatedLibrary" $1
  WriteRegStr HKLM "${REGISTRATION}" "Answers" $answers
  WriteRegStr HKLM "${REGISTRATION}" "MadeFolder" $made
  WriteRegDWORD HKLM "${REGISTRATION}" "NoModify" 1
  WriteRegDWORD HKLM "${REGISTRATION}" "NoRepair" 1
  ${If} ${Errors}
    ${Fail} "NorvelTL could not be registered with Windows. Run the installer as administrator." ${FAILED}
  ${EndIf}
  StrCpy $0 "$INSTDIR\bin"
  StrCpy $1 "$INSTDIR\bin\standard"
  ${If} $answers == "standard"
    StrCpy $0 $1
    StrCpy $1 "$INSTDIR\bin"
  ${EndIf}
  ${Helper} 'remove GENICAM_GENTL64_PATH "$1"'
  ${If} $answer == 0
    ${Helper} 'add GENICAM_GENTL64_PATH "$0"'
  ${EndIf}
  ${If} $answer == 0
    ${Helper} 'add PATH "$INSTDIR\bin"'
  ${EndIf}
  ${If} $answer != 0
    ${Fail} "NorvelTL is installed, but the machine's variables could not be changed.$\n$\n$said" ${FAILED}
  ${EndIf}
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${product} "The producer, its command line, examples and documentation."
  !insertmacro MUI_DESCRIPTION_TEXT ${simulator} "Cameras that do not exist, to try NorvelTL with. \
    It is used before any other Optivo40.dll: leave it out where the maker's is installed, and run Setup again when that \
    is installed later."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

; Selects the simulated library where the maker's is missing and nobody has decided otherwise.
Function SelectSimulator
  ClearErrors
  ${GetOptions} $options "/SIMULATED=" $0
  ${If} ${Errors}
    ${Helper} 'makers-library "$INSTDIR\bin"'
    ${If} $answer == 0
      StrCpy $0 0
    ${ElseIf} $old != ""
      ReadRegDWORD $0 HKLM "${REGISTRATION}" "SimulatedLibrary"
    ${Else}
      StrCpy $0 1
    ${EndIf}
  ${EndIf}
  ${If} $0 == 0
    !insertmacro UnselectSection ${simulator}
  ${Else}
    !insertmacro SelectSection ${simulator}
  ${EndIf}
FunctionEnd

Function SelectAnswers
  ClearErrors
  ${GetOptions} $options "/ANSWERS=" $answers
  ${If} ${Errors}
    ReadRegStr $answers HKLM "${REGISTRATION}" "Answers"
    ${If} $answers != "standard"
      StrCpy $answers "classic"
    ${EndIf}
  ${ElseIf} $answers != "classic"
  ${AndIf} $answers != "standard"
    ${Fail} "/ANSWERS= is followed by classic or standard, not by $\"$answers$\"." ${FAILED}
  ${EndIf}
FunctionEnd

Function ShowAnswers
  !insertmacro MUI_HEADER_TEXT "Choose Answers" "Choose which module of NorvelTL programs find."
  nsDialogs::Create 1018
  Pop $0
  ${NSD_CreateLabel} 0 0 100% 30u "Classic answers are those that programs made for NorvelTL know; standard answers are \
    those of the GenICam GenTL standard, which every other program expects."
  Pop $0
  ${NSD_CreateFirstRadioButton} 0 40u 100% 12u "&Classic answers"
  Pop $0
  ${NSD_CreateAdditionalRadioButton} 0 56u 100% 12u "&Standard answers"
  Pop $choice
  ${If} $answers == "standard"
    StrCpy $0 $choice
  ${EndIf}
  ${NSD_Check} $0
  nsDialogs::Show
FunctionEnd

Function TakeAnswers
  StrCpy $answers "classic"
  ${NSD_GetState} $choice $0
  ${If} $0 == ${BST_CHECKED}
    StrCpy $answers "standard"
  ${EndIf}
FunctionEnd

; What an earlier installation in this folder made stays ours.
Function LookWhatIsMissing
  StrCpy $0 $INSTDIR
  StrCpy $1 ""
  ${DoUntil} ${FileExists} "$0\*.*"
    StrCpy $1 $0
    ${GetParent} $0 $0
    StrLen $2 $0
    ${If} $2 < 3 ; a drive
      ${ExitDo}
    ${EndIf}
  ${Loop}
  ${If} $made == ""
    StrCpy $made $1
  ${EndIf}
FunctionEnd

; The folder behind /D=, which is not among $options and of which NSIS takes what it likes.
Function CheckFolder
  System::Call 'kernel32::GetCommandLine() t .r0'
  ${Do}
    StrCpy $1 $0 4
    ${If} $1 S== " /D="
      ${ExitDo}
    ${ElseIf} $1 == ""
      Return
    ${EndIf}
    StrCpy $0 $0 "" 1
  ${Loop}
  StrCpy $1 $0 "" 4
  ${GetRoot} $1 $2
  System::Call 'kernel32::GetDriveType(t "$2\") i .r3'
  ${If} $2 != ""
  ${AndIf} $3 == 1 ; no root folder, unlike that of an empty drive
    ${Fail} "There is no $2 for the folder $1." ${FAILED}
  ${ElseIf} $1 != $INSTDIR
  ${AndIf} $1 != "$INSTDIR\"
    ${Fail} "/D= is followed by the full path of a folder, without quotes, not by $1." ${FAILED}
  ${EndIf}
FunctionEnd

; A mistyped option must not put simulated cameras on a production machine.
Function CheckOptions
  StrCpy $0 $options
  ${DoUntil} $0 == ""
    ; The next word, which is empty between two blanks.
    StrCpy $3 0
    ${Do}
      StrCpy $2 $0 1 $3
      ${If} $2 == " "
      ${OrIf} $2 == ""
        ${ExitDo}
      ${EndIf}
      IntOp $3 $3 + 1
    ${Loop}
    StrCpy $1 $0 $3
    IntOp $3 $3 + 1
    StrCpy $0 $0 "" $3
    StrCpy $2 $1 9
    ${If} $1 != ""
    ${AndIf} $1 S!= "/S"
    ${AndIf} $1 S!= "/NCRC"
    ${AndIf} $1 != "/SIMULATED=0"
    ${AndIf} $1 != "/SIMULATED=1"
    ${AndIf} $2 != "/ANSWERS="
      ${Fail} "Setup knows /S, /SIMULATED=0 or 1, /ANSWERS=classic or standard, and last of all /D=FOLDER without quotes, but not $1." ${FAILED}
    ${EndIf}
  ${Loop}
FunctionEnd

Function .onInit
  !insertmacro UnpackHelper
  ${GetParameters} $options
  Call CheckOptions
  Call CheckFolder
  ReadRegStr $old HKLM "${REGISTRATION}" "InstallLocation"
  Call SelectAnswers
  Call SelectSimulator
FunctionEnd


; Removes the file $R0. One in use can be renamed: then whatever is installed before Windows restarts is safe.
Function un.RemoveFile
  ClearErrors
  Delete $R0
  ${If} ${Errors}
    GetTempFileName $R2 "$INSTDIR"
    Delete $R2
    ClearErrors
    Rename $R0 $R2
    ${If} ${Errors}
      StrCpy $R2 $R0
    ${EndIf}
    Delete /REBOOTOK $R2
    SetRebootFlag true
  ${EndIf}
FunctionEnd

Function un.onInit
  !insertmacro UnpackHelper
  ${GetParameters} $options
FunctionEnd

Section "un.NorvelTL"
  StrCpy $R1 $INSTDIR
  again:
  Call un.IsBusy
  ${If} $R0 != 0
    MessageBox MB_ABORTRETRYIGNORE|MB_ICONEXCLAMATION \
      "A running program has loaded NorvelTL from $INSTDIR.$\n$\nClose the programs that use cameras and choose Retry. With Ignore, what is in use goes when Windows restarts." \
      /SD IDIGNORE IDRETRY again IDIGNORE go
    SetErrorLevel 1
    Quit
  ${EndIf}
  go:
  SetOutPath $TEMP
  !insertmacro RemoveProduct
  ReadRegDWORD $0 HKLM "${REGISTRATION}" "SimulatedLibrary"
  ${If} $0 == 1
    ${Helper} 'is-simulated "$INSTDIR\bin\Optivo40.dll"'
    ${If} $answer == 0
      !insertmacro RemoveSimulator
    ${EndIf}
  ${EndIf}
  Delete "$INSTDIR\uninstall.exe"
  !insertmacro RemoveFolders
  SetShellVarContext all
  Delete "${START_MENU}\NorvelTL prompt.lnk"
  Delete "${START_MENU}\NorvelTL documents.lnk"
  RMDir "${START_MENU}"

  ; What is installed in the same folder next finds its entries in their places. An older installer names no answers: it
  ; knows the first module only.
  ${GetOptions} $options "/REPLACED_BY=" $R3
  ${GetOptions} $options "/ANSWERS=" $R4
  ${If} $R3 != $INSTDIR
    !insertmacro Forget GENICAM_GENTL64_PATH "$INSTDIR\bin"
    !insertmacro Forget PATH "$INSTDIR\bin"
  ${EndIf}
  ${If} $R3 != $INSTDIR
  ${OrIf} $R4 != "standard"
    !insertmacro Forget GENICAM_GENTL64_PATH "$INSTDIR\bin\standard"
  ${EndIf}
  ReadRegStr $R5 HKLM "${REGISTRATION}" "MadeFolder"
  !insertmacro RemoveParents $INSTDIR $R5
  DeleteRegKey HKLM "${REGISTRATION}"
  ${If} $failure != ""
    ${Fail} $failure ${FAILED}
  ${EndIf}
  ${If} ${RebootFlag}
    SetErrorLevel ${RESTART_NEEDED}
  ${EndIf}
SectionEnd
