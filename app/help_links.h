/// The Help menu's links to web pages.
#pragma once

#include "platform/events.h"

/// Puts the two links before the other items of the Help menu and installs their handler. When
/// there is no Help menu nothing is added, and the look-up's status is returned.
OSStatus AddHelpMenuLinks();

/// Opens the page of a link. Other commands are passed on, so that the Help menu's own items keep
/// working. A page that cannot be opened is not reported.
OSStatus HelpMenuCommandHandler(EventHandlerCallRef callRef, EventRef event, void *userData);
