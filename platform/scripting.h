/// The Open Scripting Architecture's AppleScript component, for the one thing the program has to
/// say in it.
///
/// The component understands a tell block for the Finder with one command in it, "make new alias
/// file at POSIX file FOLDER to POSIX file FILE", where FOLDER and FILE are AppleScript string
/// literals. Anything else does not compile.
#pragma once

#include "platform/apple_events.h"

using ComponentInstance = struct OpaqueComponent *;
using OSAID = std::uint32_t;
inline constexpr OSAID kOSANullScript = 0;
inline constexpr std::int32_t kOSAModeNull = 0;

/// Opens the component of a type and subtype; none when there is no such component.
ComponentInstance OpenDefaultComponent(OSType type, OSType subtype);

/// The component's name, as a text descriptor.
OSStatus OSAScriptingComponentName(ComponentInstance component, AEDesc *name);

/// Compiles a "utxt" descriptor into a script and sets `scriptID`. OSASyntaxError when it does not
/// parse, paramErr without a component.
OSStatus OSACompile(ComponentInstance component, const AEDesc &source, std::int32_t mode,
                    OSAID *scriptID);

/// Runs a script. The alias made is a symbolic link with an absolute target. It bears the file's
/// name; when that is taken "NAME alias", then "NAME alias 2" and so on, and nothing is ever
/// replaced. errOSAScriptError when the file does not exist or the link cannot be made.
OSStatus OSAExecute(ComponentInstance component, OSAID scriptID, OSAID context, std::int32_t mode,
                    OSAID *resultID);

/// Forgets a script or a result. The null script is let pass.
OSStatus OSADispose(ComponentInstance component, OSAID scriptID);
