/// Compiling and executing a script in the system's scripting component.
#pragma once

#include <string_view>

#include "platform/apple_events.h"
#include "platform/scripting.h"

/// Compiles and executes a script; the first error, or noErr. Its result is not read.
OSErr RunAppleScriptSource(std::u16string_view source);

/// Opens the component, which is then kept for the life of the process. When there is none,
/// compiling fails.
void OpenScriptingComponent();

/// Sets `scriptID` to kOSANullScript, then to the compiled script, which the caller disposes of.
OSErr CompileScriptSource(std::u16string_view source, OSAID *scriptID);

/// Makes a "utxt" descriptor of the text's units, without byte-order mark or terminator.
OSErr MakeUnicodeTextDesc(std::u16string_view text, AEDesc *desc);
