/// Texts from outside (names above all) made fit to be shown as they are.
#pragma once

#include <QString>
#include <span>

/// UTF-8 as controls and menus get it, as text.
QString TextFromUtf8(std::span<const std::uint8_t> bytes);

/// The text with a blank for each character that would break the line or turn its direction around,
/// and the replacement character for each half of a pair.
QString OneLine(QStringView text);

/// A path made up so that each of its names stands in its place whatever script it is written in,
/// where the line itself is drawn from left to right.
QString IsolatedPath(const QString &path);

/// The same for a line "PATH: what there is to tell".
QString WithPathIsolated(const QString &line);

/// The text as it was before either of the two.
QString WithoutIsolation(const QString &text);

/// The same as OneLine for a menu item or a button, where "&" would underline the character after
/// it.
QString LabelText(const QString &text);

/// The same as OneLine for the title of a window, where "[*]" would be taken for the place of the
/// modified mark; doubled it stands for itself.
QString TitleText(const QString &text);
