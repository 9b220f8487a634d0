// The file dialog of every file choice: Qt's own (non-native) dialog, so that it takes the skin's colours
// and can be driven by tests. The static helpers mirror QFileDialog's and return an empty string when the
// user cancels.
//
// GUI thread only.
#pragma once

#include <QFileDialog>

class CustomFileDialog : public QFileDialog
{
    Q_OBJECT

public:
    CustomFileDialog(QWidget* parent, const QString& caption, const QString& directory = QString(),
                     const QString& filter = QString());

    static QString GetOpenFileName(QWidget* parent, const QString& caption, const QString& directory = QString(),
                                   const QString& filter = QString());
    static QString GetSaveFileName(QWidget* parent, const QString& caption, const QString& directory = QString(),
                                   const QString& filter = QString(), const QString& defaultSuffix = QString());
    static QString GetExistingDirectory(QWidget* parent, const QString& caption, const QString& directory = QString());

public Q_SLOTS:
    void UpdateStyleSheet();
    void OnButtonClose();

private:
    static QString RunForOne(CustomFileDialog& dialog);
};
