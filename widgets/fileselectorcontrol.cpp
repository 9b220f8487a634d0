#include "widgets/fileselectorcontrol.h"

#include "widgets/customedit.h"
#include "widgets/customfiledialog.h"
#include "widgets/iconbutton.h"

#include <QFileInfo>
#include <QHBoxLayout>

FileSelectorControl::FileSelectorControl(Mode mode, QWidget* parent) : QWidget(parent), m_mode(mode)
{
    m_edit = new CustomEdit(this);
    m_button = new IconButton(QStringLiteral("folder.png"), this);
    m_button->setFixedSize(30, 30);
    m_button->setText(QStringLiteral("..."));
    m_button->setToolTip(tr("Browse"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_edit, 1);
    layout->addWidget(m_button);
    connect(m_button, &IconButton::clicked, this, &FileSelectorControl::OnButtonFilePath);
    connect(m_edit, &CustomEdit::textChanged, this, &FileSelectorControl::OnTextChanged);
    connect(m_edit, &CustomEdit::Signal_EditingFinished, this, &FileSelectorControl::OnEditingFinished);
}

FileSelectorControl::~FileSelectorControl()
{
    m_edit->disconnect(this);
}

bool FileSelectorControl::Exists(const QString& path) const
{
    if (path.trimmed().isEmpty())
        return false;
    const QFileInfo info(path);
    return m_mode == Mode::Directory ? info.isDir() : info.isFile();
}

void FileSelectorControl::SetFileName(const QString& fileName)
{
    m_edit->setText(fileName);
}

QString FileSelectorControl::FileName() const
{
    return m_edit->text().trimmed();
}

void FileSelectorControl::OnTextChanged(const QString& text)
{
    const bool valid = Exists(text);
    if (valid != m_valid)
    {
        m_valid = valid;
        Q_EMIT Signal_FileNameValidChanged(valid);
    }
}

void FileSelectorControl::OnEditingFinished(const QString& text)
{
    // A typed path counts as chosen when it can be used: an existing file or folder, or any name to save to.
    if (m_mode == Mode::SaveFile ? !text.trimmed().isEmpty() : Exists(text))
        Q_EMIT Signal_FileSelected(text.trimmed());
}

void FileSelectorControl::OnButtonFilePath()
{
    const QString start = FileName();
    const QString caption = m_caption.isEmpty() ? tr("Select file") : m_caption;
    QString chosen;
    switch (m_mode)
    {
    case Mode::OpenFile:
        chosen = CustomFileDialog::GetOpenFileName(this, caption, start, m_filter);
        break;
    case Mode::SaveFile:
        chosen = CustomFileDialog::GetSaveFileName(this, caption, start, m_filter);
        break;
    case Mode::Directory:
        chosen = CustomFileDialog::GetExistingDirectory(this, caption, start);
        break;
    }
    if (chosen.isEmpty())
        return;
    m_edit->setText(chosen);
    Q_EMIT Signal_FileSelected(chosen);
}

void FileSelectorControl::UpdateStyleSheet()
{
    m_edit->UpdateStyleSheet();
    m_button->UpdateStyleSheet();
}
