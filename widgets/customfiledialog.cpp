#include "widgets/customfiledialog.h"

#include "common/applicationglobals.h"
#include "widgets/theme.h"

CustomFileDialog::CustomFileDialog(QWidget* parent, const QString& caption, const QString& directory,
                                   const QString& filter)
    : QFileDialog(parent, caption, directory, filter)
{
    setObjectName(QStringLiteral("CustomFileDialog"));
    // The native dialog ignores style sheets and cannot be reached by tests.
    setOption(QFileDialog::DontUseNativeDialog, true);
    setModal(true);
    UpdateStyleSheet();
}

void CustomFileDialog::UpdateStyleSheet()
{
    using G = ApplicationGlobals;
    setFont(G::fontNormal);
    setStyleSheet(
        QStringLiteral("QFileDialog#CustomFileDialog { background-color: %1; }"
                       "QLabel, QCheckBox { color: %2; background: transparent; }"
                       "QTreeView, QListView { color: %2; background-color: %3; border: 1px solid %4;"
                       " selection-background-color: %5; }"
                       "QHeaderView::section { color: %2; background-color: %6; border: none; padding: 3px; }")
            .arg(G::colorBackground.name(), G::colorText.name(), G::colorInputBackground.name(), G::colorBorder.name(),
                 G::colorSelection.name(), G::colorBackgroundRaised.name()) +
        Theme::InputCss(QStringLiteral("QLineEdit")) + Theme::InputCss(QStringLiteral("QComboBox")) +
        Theme::ButtonCss() + Theme::ScrollBarCss());
}

void CustomFileDialog::OnButtonClose()
{
    reject();
}

QString CustomFileDialog::RunForOne(CustomFileDialog& dialog)
{
    if (dialog.exec() != QDialog::Accepted)
        return QString();
    const QStringList files = dialog.selectedFiles();
    return files.isEmpty() ? QString() : files.first();
}

QString CustomFileDialog::GetOpenFileName(QWidget* parent, const QString& caption, const QString& directory,
                                          const QString& filter)
{
    CustomFileDialog dialog(parent, caption, directory, filter);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return RunForOne(dialog);
}

QString CustomFileDialog::GetSaveFileName(QWidget* parent, const QString& caption, const QString& directory,
                                          const QString& filter, const QString& defaultSuffix)
{
    CustomFileDialog dialog(parent, caption, directory, filter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    if (!defaultSuffix.isEmpty())
        dialog.setDefaultSuffix(defaultSuffix);
    return RunForOne(dialog);
}

QString CustomFileDialog::GetExistingDirectory(QWidget* parent, const QString& caption, const QString& directory)
{
    CustomFileDialog dialog(parent, caption, directory);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly, true);
    return RunForOne(dialog);
}
