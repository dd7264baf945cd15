/// The main window, for what is shown in it or over it.
#pragma once

#include <QWidget>

/// Its widget; none before it is made.
QWidget *MainWindow();
void SetMainWindow(QWidget *window);

/// Shows a window in front of the others and gives it the keyboard.
void BringUp(QWidget &window);
