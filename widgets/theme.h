// Style sheet texts shared by the Custom* widgets, built from ApplicationGlobals' current colours and
// fonts, and the walk that restyles a widget tree after a skin change.
//
// GUI thread only (reads the theme store, which only the GUI thread writes).
#pragma once

#include <QString>

class QWidget;

namespace Theme {

// Calls the slot UpdateStyleSheet() of every descendant widget of root that has one. Nested control
// elements are skipped: each element is restyled by its own UpdateStyleSheet() so that its
// disconnect/restyle/connect order holds.
void RestyleTree(QWidget* root);

// Pieces used by several widgets.
QString FontCss(bool small = false);
QString ButtonCss();
QString InputCss(const QString& selector);
QString ScrollBarCss();
QString DialogCss(const QString& objectName);

} // namespace Theme
