#include "Cmn/Cmn_ExceptionCodes.h"

// Each template is a named array rather than a literal: the linker may fold
// equal string literals into one, and codes with equal text must stay apart.
// The codes are constant-initialised, so they are valid before any other
// static initialiser of the library runs.

namespace
{
constexpr char kCmn_ANSIexception[] = "ANSI exception: <str>";
constexpr char kCmn_TextAssert[] = "Assertion: <str>";
constexpr char kCmn_ExceptionContext[] = "<str>";
constexpr char kCmn_EndOfFile[] = "End of file";
constexpr char kSys_SystemError[] = "Sys: OSErr: <err>";
constexpr char kSys_Error[] = "Sys: Err: <value>";
constexpr char kSys_BadStartLoc[] = "Sys: Bad start location for search";
constexpr char kSys_FileAlreadyOpen[] = "Sys: File is already open";
constexpr char kSys_VolumeIsNotMounted[] = "Sys: Volume is not mounted";
constexpr char kSys_UnknownException[] = "An unknown exception occurred";
constexpr char kFF_FileTypeNotSupported[] = "FF: file type not supported";
constexpr char kFF_FileMustBeOpen[] = "FF: file must be open to execute method";
constexpr char kFF_RequestedReadWhileWriting[] = "FF: attempt to open file for read while it is open for write";
constexpr char kFF_RequestedWriteWhileReading[] = "FF: attempt to open file for write while it is open for read";
constexpr char kFF_RequestedWriteWhileWriting[] = "FF: attempt to open file for write while it is open for write";
constexpr char kFF_PlugIn_IOError[] = "FF: I/O error in plug-in";
constexpr char kFF_PlugIn_BadParameter[] = "FF: bad parameter passed to plug-in";
constexpr char kFF_PlugIn_Unimplemented[] = "FF: call to unimplemented plug-in method";
constexpr char kFF_PlugIn_CorruptFile[] = "FF: corrupt file";
constexpr char kFF_PlugIn_BadHRESULT[] = "FF: plug-in returned invalid HRESULT";
constexpr char kFF_PlugIn_Failed[] = "FF: call to plug-in failed";
constexpr char kFF_PlugIn_LoadFailed[] = "FF: load of plug-ins failed";
constexpr char kFF_PlugIn_Unexpected[] = "FF: unexpected error in plug-ing";
constexpr char kMA_SystemErrorWithMessage[] = "MA OSErr";
constexpr char kMMgr_OutOfMemory[] = "MMgr out of memory";
constexpr char kMMgr_AssertionFailure[] = "MMgr failed test <assert> in file <file> at line <line>";
constexpr char kMMgr_ArgCheckFailure[] = "MMgr found bad param <assert> in file <file> at line <line>";
constexpr char kDAW_SystemError[] = "<err>";
constexpr char kDAW_ImageResourceMissing[] = "Couldn't find image resource #<value>";
constexpr char kDAW_WhileInitializingApp[] = "While initializing the application";
constexpr char kDAW_WhileCreatingWindow[] = "While creating window";
constexpr char kDAW_CouldntGetDC[] = "Couldn't get device context";
constexpr char kDAW_CouldntCreateChildWindow[] = "Couldn't create child window";
constexpr char kDAW_CouldntCreateMainMenuWindow[] = "Couldn't create main menu window";
constexpr char kDAW_TriedToCreateMainMenuWindowTwice[] = "Tried to create main menu window twice";
constexpr char kDAW_WhileCreatingOffscreen[] = "While creating offscreen";
constexpr char kDAW_WhileCreatingImage[] = "While creating image";
constexpr char kDAW_EmptyBitMapFile[] = "Empty bitmap file";
constexpr char kDAW_InvalidBitMap[] = "Invalid bitmap file";
constexpr char kDAW_CannotCompressDIB[] = "Cannot compress DIB";
constexpr char kDAW_WhileCreatingPen[] = "While creating pen";
constexpr char kDAW_WhileCreatingBrush[] = "While creating brush";
constexpr char kDAW_WhileCreatingFont[] = "While creating font";
constexpr char kDAW_WhileCreatingCursor[] = "While creating cursor";
constexpr char kDAW_WhileCreatingMenu[] = "While creating menu";
constexpr char kDAW_WhileCreatingPopupMenu[] = "While creating popup menu";
constexpr char kDAW_CannotOpenFile[] = "Cannot open file";
constexpr char kDAW_ErrorWritingFile[] = "Error writing file";
constexpr char kDAW_ErrorReadingFile[] = "Error reading file";
constexpr char kDAW_SE_AccessViolation[] = "Access violation occured";
constexpr char kDAW_SE_DataTypeMisalignment[] = "Data type misalignment occured";
constexpr char kDAW_SE_ArrayBoundsExceeded[] = "Array bounds exceeded";
constexpr char kDAW_SE_FloatDenormalOperand[] = "Floating point error occured (denormal operand)";
constexpr char kDAW_SE_FloatDivideByZero[] = "Floating point error occured (divide by zero)";
constexpr char kDAW_SE_FloatInexactResult[] = "Floating point error occured (inexact result)";
constexpr char kDAW_SE_FloatInvalidOperation[] = "Floating point error occured (invalid operation)";
constexpr char kDAW_SE_FloatOverflow[] = "Floating point error occured (overflow)";
constexpr char kDAW_SE_FloatStackCheck[] = "Floating point error occured (stack check)";
constexpr char kDAW_SE_FloatUnderflow[] = "Floating point error occured (underflow)";
constexpr char kDAW_SE_IntegerDivideByZero[] = "Integer error occured (divide by zero)";
constexpr char kDAW_SE_IntegerOverflow[] = "Integer error occured (overflow)";
constexpr char kDAW_SE_PriviledgedInstruction[] = "Priviledged instruction executed in user mode";
constexpr char kDAW_SE_InPageError[] = "In page error occured";
constexpr char kDAW_SE_IllegalInstruction[] = "Illegal instruction attempted";
constexpr char kDAW_SE_NoncontinuableException[] = "Noncontinuable exception occured";
constexpr char kDAW_SE_StackOverflow[] = "Stack overflow occured";
constexpr char kDAW_SE_InvalidDisposition[] = "Invalid disposition occured";
constexpr char kDAW_SE_GuardPageVialation[] = "Guard page violation occured";
constexpr char kDAW_SE_InvalidHandle[] = "Invalid handle was used";
constexpr char kSYS_SE_AccessViolation[] = "Access violation occurred";
constexpr char kSYS_SE_DataTypeMisalignment[] = "Data type misalignment occurred";
constexpr char kSYS_SE_ArrayBoundsExceeded[] = "Array bounds exceeded";
constexpr char kSYS_SE_FloatDenormalOperand[] = "Floating point error occurred (denormal operand)";
constexpr char kSYS_SE_FloatDivideByZero[] = "Floating point error occurred (divide by zero)";
constexpr char kSYS_SE_FloatInexactResult[] = "Floating point error occurred (inexact result)";
constexpr char kSYS_SE_FloatInvalidOperation[] = "Floating point error occurred (invalid operation)";
constexpr char kSYS_SE_FloatOverflow[] = "Floating point error occurred (overflow)";
constexpr char kSYS_SE_FloatStackCheck[] = "Floating point error occurred (stack check)";
constexpr char kSYS_SE_FloatUnderflow[] = "Floating point error occurred (underflow)";
constexpr char kSYS_SE_IntegerDivideByZero[] = "Integer error occurred (divide by zero)";
constexpr char kSYS_SE_IntegerOverflow[] = "Integer error occurred (overflow)";
constexpr char kSYS_SE_PriviledgedInstruction[] = "Priviledged instruction executed in user mode";
constexpr char kSYS_SE_InPageError[] = "In page error occurred";
constexpr char kSYS_SE_IllegalInstruction[] = "Illegal instruction attempted";
constexpr char kSYS_SE_NoncontinuableException[] = "Noncontinuable exception occurred";
constexpr char kSYS_SE_StackOverflow[] = "Stack overflow occurred";
constexpr char kSYS_SE_InvalidDisposition[] = "Invalid disposition occurred";
constexpr char kSYS_SE_GuardPageVialation[] = "Guard page violation occurred";
constexpr char kSYS_SE_InvalidHandle[] = "Invalid handle was used";
} // namespace

constinit XC_TypedExceptionCode<Cmn_TStringXData> const XC_Cmn_ANSIexception(kCmn_ANSIexception);
constinit XC_TypedExceptionCode<Cmn_TStringXData> const XC_Cmn_TextAssert(kCmn_TextAssert);
constinit XC_TypedExceptionCode<Cmn_TStringXData> const XC_Cmn_ExceptionContext(kCmn_ExceptionContext);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_Cmn_EndOfFile(kCmn_EndOfFile);

constinit XC_TypedExceptionCode<Sys_OSErrData> const XC_Sys_SystemError(kSys_SystemError);
constinit XC_TypedExceptionCode<Sys_Int32ErrData> const XC_Sys_Error(kSys_Error);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_Sys_BadStartLoc(kSys_BadStartLoc);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_Sys_FileAlreadyOpen(kSys_FileAlreadyOpen);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_Sys_VolumeIsNotMounted(kSys_VolumeIsNotMounted);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_Sys_UnknownException(kSys_UnknownException);

constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_FileTypeNotSupported(kFF_FileTypeNotSupported);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_FileMustBeOpen(kFF_FileMustBeOpen);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_FF_RequestedReadWhileWriting(kFF_RequestedReadWhileWriting);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_FF_RequestedWriteWhileReading(kFF_RequestedWriteWhileReading);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_FF_RequestedWriteWhileWriting(kFF_RequestedWriteWhileWriting);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_PlugIn_IOError(kFF_PlugIn_IOError);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_PlugIn_BadParameter(kFF_PlugIn_BadParameter);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_PlugIn_Unimplemented(kFF_PlugIn_Unimplemented);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_PlugIn_CorruptFile(kFF_PlugIn_CorruptFile);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_PlugIn_BadHRESULT(kFF_PlugIn_BadHRESULT);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_PlugIn_Failed(kFF_PlugIn_Failed);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_PlugIn_LoadFailed(kFF_PlugIn_LoadFailed);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_FF_PlugIn_Unexpected(kFF_PlugIn_Unexpected);

constinit XC_TypedExceptionCode<MA_OSErrData> const XC_MA_SystemErrorWithMessage(kMA_SystemErrorWithMessage);

constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_MMgr_OutOfMemory(kMMgr_OutOfMemory);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_MMgr_AssertionFailure(kMMgr_AssertionFailure);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_MMgr_ArgCheckFailure(kMMgr_ArgCheckFailure);

constinit XC_TypedExceptionCode<DAW_OSErrData> const XC_DAW_SystemError(kDAW_SystemError);
constinit XC_TypedExceptionCode<DAW_Int32ErrData> const XC_DAW_ImageResourceMissing(kDAW_ImageResourceMissing);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileInitializingApp(kDAW_WhileInitializingApp);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingWindow(kDAW_WhileCreatingWindow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_CouldntGetDC(kDAW_CouldntGetDC);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_DAW_CouldntCreateChildWindow(kDAW_CouldntCreateChildWindow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_DAW_CouldntCreateMainMenuWindow(kDAW_CouldntCreateMainMenuWindow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_DAW_TriedToCreateMainMenuWindowTwice(kDAW_TriedToCreateMainMenuWindowTwice);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingOffscreen(kDAW_WhileCreatingOffscreen);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingImage(kDAW_WhileCreatingImage);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_EmptyBitMapFile(kDAW_EmptyBitMapFile);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_InvalidBitMap(kDAW_InvalidBitMap);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_CannotCompressDIB(kDAW_CannotCompressDIB);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingPen(kDAW_WhileCreatingPen);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingBrush(kDAW_WhileCreatingBrush);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingFont(kDAW_WhileCreatingFont);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingCursor(kDAW_WhileCreatingCursor);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingMenu(kDAW_WhileCreatingMenu);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_WhileCreatingPopupMenu(kDAW_WhileCreatingPopupMenu);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_CannotOpenFile(kDAW_CannotOpenFile);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_ErrorWritingFile(kDAW_ErrorWritingFile);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_ErrorReadingFile(kDAW_ErrorReadingFile);

constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_AccessViolation(kDAW_SE_AccessViolation);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_DAW_SE_DataTypeMisalignment(kDAW_SE_DataTypeMisalignment);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_ArrayBoundsExceeded(kDAW_SE_ArrayBoundsExceeded);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_DAW_SE_FloatDenormalOperand(kDAW_SE_FloatDenormalOperand);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_FloatDivideByZero(kDAW_SE_FloatDivideByZero);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_FloatInexactResult(kDAW_SE_FloatInexactResult);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_DAW_SE_FloatInvalidOperation(kDAW_SE_FloatInvalidOperation);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_FloatOverflow(kDAW_SE_FloatOverflow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_FloatStackCheck(kDAW_SE_FloatStackCheck);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_FloatUnderflow(kDAW_SE_FloatUnderflow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_IntegerDivideByZero(kDAW_SE_IntegerDivideByZero);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_IntegerOverflow(kDAW_SE_IntegerOverflow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_DAW_SE_PriviledgedInstruction(kDAW_SE_PriviledgedInstruction);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_InPageError(kDAW_SE_InPageError);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_IllegalInstruction(kDAW_SE_IllegalInstruction);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_DAW_SE_NoncontinuableException(kDAW_SE_NoncontinuableException);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_StackOverflow(kDAW_SE_StackOverflow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_InvalidDisposition(kDAW_SE_InvalidDisposition);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_GuardPageVialation(kDAW_SE_GuardPageVialation);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_DAW_SE_InvalidHandle(kDAW_SE_InvalidHandle);

constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_AccessViolation(kSYS_SE_AccessViolation);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_SYS_SE_DataTypeMisalignment(kSYS_SE_DataTypeMisalignment);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_ArrayBoundsExceeded(kSYS_SE_ArrayBoundsExceeded);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_SYS_SE_FloatDenormalOperand(kSYS_SE_FloatDenormalOperand);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_FloatDivideByZero(kSYS_SE_FloatDivideByZero);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_FloatInexactResult(kSYS_SE_FloatInexactResult);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_SYS_SE_FloatInvalidOperation(kSYS_SE_FloatInvalidOperation);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_FloatOverflow(kSYS_SE_FloatOverflow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_FloatStackCheck(kSYS_SE_FloatStackCheck);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_FloatUnderflow(kSYS_SE_FloatUnderflow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_IntegerDivideByZero(kSYS_SE_IntegerDivideByZero);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_IntegerOverflow(kSYS_SE_IntegerOverflow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_SYS_SE_PriviledgedInstruction(kSYS_SE_PriviledgedInstruction);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_InPageError(kSYS_SE_InPageError);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_IllegalInstruction(kSYS_SE_IllegalInstruction);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const
    XC_SYS_SE_NoncontinuableException(kSYS_SE_NoncontinuableException);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_StackOverflow(kSYS_SE_StackOverflow);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_InvalidDisposition(kSYS_SE_InvalidDisposition);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_GuardPageVialation(kSYS_SE_GuardPageVialation);
constinit XC_TypedExceptionCode<Cmn_NullExceptionData> const XC_SYS_SE_InvalidHandle(kSYS_SE_InvalidHandle);
