/// The box that says what the program is.
#pragma once

/// Shows it beside the event loop; there is one at most.
void ShowAboutBox();
