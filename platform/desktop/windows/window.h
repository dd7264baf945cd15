/// A window of the interface file, as the platform's window calls see it.
#pragma once

#include <QWidget>
#include <memory>
#include <vector>

#include "platform/desktop/windows/controls_of_window.h"
#include "platform/windows.h"

/// Belongs to its widget and goes with it. Turns what its user does (pressing a button, closing it)
/// into commands.
struct OpaqueWindow final : QObject {
  /// `widget` has just been loaded from an interface file.
  explicit OpaqueWindow(QWidget *widget);
  ~OpaqueWindow() override;

  bool eventFilter(QObject *watched, QEvent *event) override;

  /// Gives a command as the user of this window has given it.
  void Give(OSType command);

  QWidget *widget;
  QWidget *content;  ///< what lies below the menu bar
  EventTargetRef target;
  std::vector<std::unique_ptr<OpaqueControl>> controls;
  bool isSheet = false;
};
