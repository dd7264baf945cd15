#include "engine/script_runner.h"

namespace {

ComponentInstance scriptingComponent = nullptr;
AEDesc scriptingComponentName;

}  // namespace

OSErr RunAppleScriptSource(std::u16string_view source) {
  OpenScriptingComponent();
  OSAID scriptID;
  if (const OSErr error = CompileScriptSource(source, &scriptID); error != noErr) return error;
  OSAID resultID = kOSANullScript;
  const OSStatus status =
      OSAExecute(scriptingComponent, scriptID, kOSANullScript, kOSAModeNull, &resultID);
  (void)OSADispose(scriptingComponent, scriptID);
  if (status != noErr) return static_cast<OSErr>(status);
  (void)OSADispose(scriptingComponent, resultID);
  return noErr;
}

void OpenScriptingComponent() {
  if (scriptingComponent != nullptr) return;
  scriptingComponent = OpenDefaultComponent(FourChars("osa "), FourChars("ascr"));
  (void)OSAScriptingComponentName(scriptingComponent, &scriptingComponentName);
}

OSErr CompileScriptSource(std::u16string_view source, OSAID *scriptID) {
  *scriptID = kOSANullScript;
  AEDesc sourceDesc;
  if (const OSErr error = MakeUnicodeTextDesc(source, &sourceDesc); error != noErr) return error;
  return static_cast<OSErr>(OSACompile(scriptingComponent, sourceDesc, kOSAModeNull, scriptID));
}

OSErr MakeUnicodeTextDesc(std::u16string_view text, AEDesc *desc) {
  return AECreateDesc(typeUnicodeText, text.data(), text.size() * sizeof(char16_t), desc);
}
