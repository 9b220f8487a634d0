#include "widgets/theme.h"

#include "common/applicationglobals.h"

#include <QMetaMethod>
#include <QMetaObject>
#include <QWidget>

namespace Theme {

namespace {
void Restyle(QWidget* widget)
{
    for (QObject* child : widget->children())
    {
        auto* w = qobject_cast<QWidget*>(child);
        if (w == nullptr || w->inherits("ControlElement"))
            continue;
        if (w->metaObject()->indexOfMethod("UpdateStyleSheet()") >= 0)
            QMetaObject::invokeMethod(w, "UpdateStyleSheet", Qt::DirectConnection);
        Restyle(w);
    }
}
} // namespace

void RestyleTree(QWidget* root)
{
    if (root != nullptr)
        Restyle(root);
}

QString FontCss(bool small)
{
    const QFont& f = small ? ApplicationGlobals::fontSmall : ApplicationGlobals::fontNormal;
    const int pt = f.pointSize() > 0 ? f.pointSize() : 9;
    return QStringLiteral("font-family: %1; font-size: %2pt;").arg(f.family(), QString::number(pt));
}

QString ButtonCss()
{
    using G = ApplicationGlobals;
    return QStringLiteral("QPushButton { color: %1; background-color: %2; border: 1px solid %3; padding: 3px 10px; %4 }"
                          "QPushButton:hover { background-color: %5; border-color: %6; }"
                          "QPushButton:pressed { background-color: %7; }"
                          "QPushButton:checked { background-color: %6; }"
                          "QPushButton:disabled { color: %8; background-color: %9; }")
        .arg(G::colorText.name(), G::colorBackgroundRaised.name(), G::colorBorder.name(), FontCss(),
             G::colorHover.name(), G::colorAccent.name(), G::colorPressed.name(), G::colorDisabledText.name(),
             G::colorDisabledBackground.name());
}

QString InputCss(const QString& selector)
{
    using G = ApplicationGlobals;
    return QStringLiteral("%1 { color: %2; background-color: %3; border: 1px solid %4; selection-background-color: %5;"
                          " %6 padding: 2px; }"
                          "%1:focus { border-color: %5; }"
                          "%1:disabled { color: %7; background-color: %8; }")
        .arg(selector, G::colorText.name(), G::colorInputBackground.name(), G::colorBorder.name(),
             G::colorSelection.name(), FontCss(), G::colorDisabledText.name(), G::colorDisabledBackground.name());
}

QString ScrollBarCss()
{
    using G = ApplicationGlobals;
    return QStringLiteral("QScrollBar:vertical { background: %1; width: 10px; margin: 0px; border: none; }"
                          "QScrollBar:horizontal { background: %1; height: 10px; margin: 0px; border: none; }"
                          "QScrollBar::handle { background: %2; min-height: 20px; min-width: 20px; }"
                          "QScrollBar::handle:hover { background: %3; }"
                          "QScrollBar::add-line, QScrollBar::sub-line { width: 0px; height: 0px; }"
                          "QScrollBar::add-page, QScrollBar::sub-page { background: none; }")
        .arg(G::colorBackground.name(), G::colorScrollHandle.name(), G::colorAccent.name());
}

QString DialogCss(const QString& objectName)
{
    using G = ApplicationGlobals;
    return QStringLiteral("QDialog#%1 { background-color: %2; border: 1px solid %3; }"
                          "QLabel { color: %4; background: transparent; %5 }")
               .arg(objectName, G::colorBackground.name(), G::colorBorder.name(), G::colorText.name(), FontCss()) +
           ButtonCss();
}

} // namespace Theme
