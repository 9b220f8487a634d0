// A file or folder path entry with a browse button: the path can be typed or chosen in CustomFileDialog
// (OnButtonFilePath). It reports a chosen or confirmed path with Signal_FileSelected and tells whenever
// the typed path starts or stops naming an existing file or folder (Signal_FileNameValidChanged).
//
// GUI thread only.
#pragma once

#include <QWidget>

class CustomEdit;
class IconButton;

class FileSelectorControl : public QWidget
{
    Q_OBJECT

public:
    enum class Mode
    {
        OpenFile,
        SaveFile,
        Directory
    };

    explicit FileSelectorControl(Mode mode = Mode::OpenFile, QWidget* parent = nullptr);
    // The edit box reports a last edit when the focus leaves it during destruction; cut it off first.
    ~FileSelectorControl() override;

    void SetFilter(const QString& filter) { m_filter = filter; }
    void SetCaption(const QString& caption) { m_caption = caption; }
    void SetFileName(const QString& fileName);
    QString FileName() const;
    bool IsFileNameValid() const { return m_valid; }
    CustomEdit* Edit() const { return m_edit; }
    IconButton* Button() const { return m_button; }

public Q_SLOTS:
    void OnButtonFilePath();
    void UpdateStyleSheet();

Q_SIGNALS:
    void Signal_FileSelected(QString fileName);
    void Signal_FileNameValidChanged(bool exists);

private Q_SLOTS:
    void OnTextChanged(const QString& text);
    void OnEditingFinished(const QString& text);

private:
    bool Exists(const QString& path) const;

    Mode m_mode;
    QString m_filter;
    QString m_caption;
    CustomEdit* m_edit = nullptr;
    IconButton* m_button = nullptr;
    bool m_valid = false;
};
