/// What is usual on a desktop for commands that the program does not handle itself.
#pragma once

/// Installs the handler of them: "open" and "pvew" offer a folder chooser, "abou" shows the About
/// box. To be called before the program installs its own, so that those are asked first.
void InstallUsualCommands();
