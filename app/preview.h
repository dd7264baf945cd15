/// Previews in the window: what a drop would do is shown, and done when the user says so.
///
/// A preview is a run of its own, on a plan: it waits for its turn like one, shows how far it is,
/// and can be stopped. A folder that flattening would take apart is shown so first.
#pragma once

#include "platform/apple_events.h"

/// Installs what handles open-documents events and the preview's own, and has runs ask first from
/// now on. To be called once, before the first run.
void InstallPreviews();

/// Handles the open-documents event: a run, or a preview when the preferences want one first.
OSErr HandleOpenOrPreview(const AppleEvent &event, AppleEvent *reply, std::intptr_t refCon);
