/// The interface file: menus and windows as files that Qt Designer edits.
#pragma once

#include <QString>
#include <QWidget>

#include "platform/types.h"

/// A widget's four-character property of that name; 0 when it has none.
OSType CodeProperty(const QObject &object, const char *name);

/// Loads the widget in a file; none when it cannot be read or understood.
QWidget *LoadWidget(const QString &path);
