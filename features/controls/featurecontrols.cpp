#include "features/controls/featurecontrols.h"

#include "common/logmessagesender.h"
#include "nodetree/valuetext.h"

#include <cmath>

namespace FeatureControls {

namespace {

void DisconnectAll(QList<QMetaObject::Connection>& connections)
{
    for (const auto& connection : connections)
        QObject::disconnect(connection);
    connections.clear();
}

} // namespace

// --- IntSlider

IntSlider::IntSlider(QWidget* parent) : CustomIntSlider(parent)
{
    SetFeature(nullptr);
}

IntSlider::~IntSlider()
{
    Detach();
}

void IntSlider::Detach()
{
    DisconnectAll(m_connections);
    DisconnectAll(m_writeConnections);
    QObject::disconnect(m_valueConnection);
    m_feature = nullptr;
}

void IntSlider::SetFeature(FeatureInterface* feature)
{
    Detach();
    auto* typed = qobject_cast<IntegerFeatureInterface*>(feature);
    if (!typed)
    {
        SetRange(0, 0);
        SetValue(0);
        setEnabled(false);
        return;
    }
    m_feature = typed;
    UpdateRange(typed->GetMinimum(false), typed->GetMaximum(false), typed->GetIncrement(false));
    SetValue(typed->GetIntValue(false));
    setEnabled(typed->IsWriteable());

    m_connections << connect(typed, &IntegerFeatureInterface::IntRangeChanged, this, &IntSlider::UpdateRange);
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, &QWidget::setEnabled);
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
    m_valueConnection = connect(typed, &IntegerFeatureInterface::IntValueChanged, this, &IntSlider::UpdateValue);
    ConnectWrites();
}

void IntSlider::SetWriteAsync(bool async)
{
    m_writeAsync = async;
    if (m_feature)
        ConnectWrites();
}

void IntSlider::ConnectWrites()
{
    DisconnectAll(m_writeConnections);
    IntegerFeatureInterface* feature = m_feature;
    if (m_writeAsync)
    {
        m_writeConnections << connect(this, &CustomIntSlider::Signal_ImmediateUpdate, feature,
                                      &IntegerFeatureInterface::SetIntValueAsync);
        m_writeConnections << connect(this, &CustomIntSlider::Signal_ValueChanged, feature,
                                      &IntegerFeatureInterface::SetIntValueAsync);
    }
    else
    {
        m_writeConnections << connect(this, &CustomIntSlider::Signal_ValueChanged, feature,
                                      &IntegerFeatureInterface::SetIntValue);
    }
}

void IntSlider::UpdateRange(int64_t min, int64_t max, int64_t inc)
{
    SetRange(min, max);
    SetIncrement(inc > 0 ? inc : 1);
    update();
}

void IntSlider::UpdateValue()
{
    if (m_feature)
        SetValue(m_feature->GetIntValue(false));
}

void IntSlider::OnSliderPressed()
{
    QObject::disconnect(m_valueConnection);
    CustomIntSlider::OnSliderPressed();
}

void IntSlider::OnSliderReleased()
{
    CustomIntSlider::OnSliderReleased();
    if (!m_feature)
        return;
    m_valueConnection = connect(m_feature, &IntegerFeatureInterface::IntValueChanged, this, &IntSlider::UpdateValue);
    UpdateValue();
}

// --- DoubleSlider

DoubleSlider::DoubleSlider(QWidget* parent) : CustomDoubleSlider(parent)
{
    SetFeature(nullptr);
}

DoubleSlider::~DoubleSlider()
{
    Detach();
}

void DoubleSlider::Detach()
{
    DisconnectAll(m_connections);
    DisconnectAll(m_writeConnections);
    QObject::disconnect(m_valueConnection);
    m_feature = nullptr;
}

void DoubleSlider::SetFeature(FeatureInterface* feature)
{
    Detach();
    auto* typed = qobject_cast<DoubleFeatureInterface*>(feature);
    if (!typed)
    {
        SetRange(0, 0);
        SetValue(0);
        setEnabled(false);
        return;
    }
    m_feature = typed;
    SetDecimals(std::max(typed->GetPrecision(), 0));
    UpdateRange(typed->GetMinimum(false), typed->GetMaximum(false), typed->GetIncrement(false));
    SetValue(typed->GetDoubleValue(false));
    setEnabled(typed->IsWriteable());

    m_connections << connect(typed, &DoubleFeatureInterface::DoubleRangeChanged, this, &DoubleSlider::UpdateRange);
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, &QWidget::setEnabled);
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
    m_valueConnection = connect(typed, &DoubleFeatureInterface::DoubleValueChanged, this, &DoubleSlider::UpdateValue);
    ConnectWrites();
}

void DoubleSlider::SetWriteAsync(bool async)
{
    m_writeAsync = async;
    if (m_feature)
        ConnectWrites();
}

void DoubleSlider::ConnectWrites()
{
    DisconnectAll(m_writeConnections);
    DoubleFeatureInterface* feature = m_feature;
    if (m_writeAsync)
    {
        m_writeConnections << connect(this, &CustomDoubleSlider::Signal_ImmediateUpdate, feature,
                                      &DoubleFeatureInterface::SetDoubleValueAsync);
        m_writeConnections << connect(this, &CustomDoubleSlider::Signal_ValueChanged, feature,
                                      &DoubleFeatureInterface::SetDoubleValueAsync);
    }
    else
    {
        m_writeConnections << connect(this, &CustomDoubleSlider::Signal_ValueChanged, feature,
                                      &DoubleFeatureInterface::SetDoubleValue);
    }
}

void DoubleSlider::UpdateRange(double min, double max, double inc)
{
    // The precision comes with the node: a slider bound before its camera opened had none, and a rebinding
    // or Sync tells the range again, so the decimals follow here.
    if (m_feature)
        SetDecimals(std::max(m_feature->GetPrecision(), 0));
    SetRange(min, max);
    SetIncrement(inc);
    update();
}

void DoubleSlider::UpdateValue()
{
    if (m_feature)
        SetValue(m_feature->GetDoubleValue(false));
}

void DoubleSlider::OnSliderPressed()
{
    QObject::disconnect(m_valueConnection);
    CustomDoubleSlider::OnSliderPressed();
}

void DoubleSlider::OnSliderReleased()
{
    CustomDoubleSlider::OnSliderReleased();
    if (!m_feature)
        return;
    m_valueConnection =
        connect(m_feature, &DoubleFeatureInterface::DoubleValueChanged, this, &DoubleSlider::UpdateValue);
    UpdateValue();
}

// --- ComboBox

ComboBox::ComboBox(QWidget* parent) : CustomComboBox(parent)
{
    SetFeature(nullptr);
}

ComboBox::~ComboBox()
{
    Detach();
}

void ComboBox::Detach()
{
    DisconnectAll(m_connections);
    m_feature = nullptr;
}

void ComboBox::SetFeature(FeatureInterface* feature)
{
    Detach();
    auto* typed = qobject_cast<EnumerationFeatureInterface*>(feature);
    if (!typed)
    {
        clear();
        setEnabled(false);
        Q_EMIT WriteableChanged(false);
        return;
    }
    m_feature = typed;
    UpdateEntries(typed->GetEntries(false));
    UpdateValue(typed->GetStringValue(false));
    const bool writeable = typed->IsWriteable();
    setEnabled(writeable);
    Q_EMIT WriteableChanged(writeable);

    m_connections << connect(this, &CustomComboBox::Signal_CurrentTextChanged, typed,
                             &EnumerationFeatureInterface::SetStringValue);
    m_connections << connect(typed, &EnumerationFeatureInterface::EntriesChanged, this, &ComboBox::UpdateEntries);
    m_connections << connect(typed, &EnumerationFeatureInterface::StringValueChanged, this, &ComboBox::UpdateValue);
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, [this](bool writeable) {
        setEnabled(writeable);
        Q_EMIT WriteableChanged(writeable);
    });
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
}

void ComboBox::UpdateEntries(const QStringList& entries)
{
    // Filled from code: the box tells no user change for this.
    const QString current = m_feature ? m_feature->GetStringValue(false) : QString();
    clear();
    addItems(entries);
    UpdateValue(current);
}

void ComboBox::UpdateValue(const QString& value)
{
    const int index = findText(value);
    if (index >= 0)
        setCurrentIndex(index);
}

// --- Switch

Switch::Switch(QWidget* parent) : CustomSwitch(parent)
{
    SetFeature(nullptr);
}

Switch::~Switch()
{
    Detach();
}

void Switch::Detach()
{
    DisconnectAll(m_connections);
    m_feature = nullptr;
    m_mode = nullptr;
}

void Switch::UpdateModeState()
{
    if (!m_mode)
        return;
    const QStringList entries = m_mode->GetEntries(false);
    const bool usable =
        m_mode->IsWriteable() && entries.contains(QLatin1String(kOff)) && entries.contains(QLatin1String(kOnce));
    SetValue(m_mode->GetStringValue(false) == QLatin1String(kOnce));
    setEnabled(usable);
}

void Switch::SetFeature(FeatureInterface* feature)
{
    Detach();
    if (auto* mode = qobject_cast<EnumerationFeatureInterface*>(feature))
    {
        m_mode = mode;
        UpdateModeState();
        m_connections << connect(this, &CustomSwitch::Signal_ValueChanged, mode, [this](bool on) {
            if (m_mode)
                m_mode->SetStringValue(QLatin1String(on ? kOnce : kOff));
        });
        m_connections << connect(mode, &EnumerationFeatureInterface::StringValueChanged, this,
                                 [this](const QString&) { UpdateModeState(); });
        m_connections << connect(mode, &EnumerationFeatureInterface::EntriesChanged, this,
                                 [this](const QStringList&) { UpdateModeState(); });
        m_connections << connect(mode, &FeatureInterface::WriteableChanged, this, [this](bool) { UpdateModeState(); });
        m_connections << connect(mode, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
        return;
    }
    auto* typed = qobject_cast<BooleanFeatureInterface*>(feature);
    if (!typed)
    {
        SetValue(false);
        setEnabled(false);
        return;
    }
    m_feature = typed;
    SetValue(typed->GetBoolValue(false));
    setEnabled(typed->IsWriteable());
    m_connections << connect(this, &CustomSwitch::Signal_ValueChanged, typed, &BooleanFeatureInterface::SetBoolValue);
    m_connections << connect(typed, &BooleanFeatureInterface::BoolValueChanged, this, &CustomSwitch::SetValue);
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, &QWidget::setEnabled);
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
}

// --- Button

Button::Button(const QString& text, QWidget* parent) : CustomPushButton(text, parent)
{
    SetFeature(nullptr);
}

Button::~Button()
{
    Detach();
}

void Button::Detach()
{
    DisconnectAll(m_connections);
    m_feature = nullptr;
}

void Button::SetFeature(FeatureInterface* feature)
{
    Detach();
    auto* typed = qobject_cast<CommandFeatureInterface*>(feature);
    if (!typed)
    {
        setEnabled(false);
        return;
    }
    m_feature = typed;
    setEnabled(typed->IsWriteable());
    m_connections << connect(this, &QPushButton::clicked, typed, [typed] { typed->Execute(false); });
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, &QWidget::setEnabled);
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
}

// --- IntComboBox

IntComboBox::IntComboBox(QWidget* parent) : CustomComboBox(parent)
{
    SetFeature(nullptr);
}

IntComboBox::~IntComboBox()
{
    Detach();
}

void IntComboBox::Detach()
{
    DisconnectAll(m_connections);
    m_feature = nullptr;
}

void IntComboBox::SetFeature(FeatureInterface* feature)
{
    Detach();
    auto* typed = qobject_cast<IntegerFeatureInterface*>(feature);
    if (!typed)
    {
        clear();
        setEnabled(false);
        Q_EMIT WriteableChanged(false);
        return;
    }
    m_feature = typed;
    UpdateRange(typed->GetMinimum(false), typed->GetMaximum(false), typed->GetIncrement(false));
    const bool writeable = typed->IsWriteable();
    setEnabled(writeable);
    Q_EMIT WriteableChanged(writeable);
    m_connections << connect(this, &CustomComboBox::Signal_CurrentIndexChanged, typed, [this](int index) {
        if (m_feature && index >= 0)
            m_feature->SetIntValue(itemData(index).toLongLong());
    });
    m_connections << connect(typed, &IntegerFeatureInterface::IntRangeChanged, this, &IntComboBox::UpdateRange);
    m_connections << connect(typed, &IntegerFeatureInterface::IntValueChanged, this, &IntComboBox::UpdateValue);
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, [this](bool writeable) {
        setEnabled(writeable);
        Q_EMIT WriteableChanged(writeable);
    });
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
}

void IntComboBox::UpdateRange(int64_t min, int64_t max, int64_t inc)
{
    clear();
    const int64_t step = inc > 0 ? inc : 1;
    if (max >= min && (uint64_t(max) - uint64_t(min)) / uint64_t(step) < uint64_t(kMaxEntries))
        for (int64_t v = min; v <= max; v += step)
        {
            addItem(QString::number(v), QVariant::fromValue<qlonglong>(v));
            if (max - v < step)
                break;
        }
    UpdateValue();
}

void IntComboBox::UpdateValue()
{
    if (!m_feature)
        return;
    const int index = findData(QVariant::fromValue<qlonglong>(m_feature->GetIntValue(false)));
    if (index >= 0)
        setCurrentIndex(index);
}

// --- IntEdit

IntEdit::IntEdit(QWidget* parent) : CustomEdit(parent)
{
    SetFeature(nullptr);
}

IntEdit::~IntEdit()
{
    Detach();
}

void IntEdit::Detach()
{
    DisconnectAll(m_connections);
    m_feature = nullptr;
}

void IntEdit::SetFeature(FeatureInterface* feature)
{
    Detach();
    auto* typed = qobject_cast<IntegerFeatureInterface*>(feature);
    if (!typed)
    {
        clear();
        setEnabled(false);
        return;
    }
    m_feature = typed;
    UpdateValue();
    setEnabled(typed->IsWriteable());
    m_connections << connect(this, &CustomEdit::Signal_EditingFinished, this, &IntEdit::OnEdited);
    m_connections << connect(typed, &IntegerFeatureInterface::IntValueChanged, this, &IntEdit::UpdateValue);
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, &QWidget::setEnabled);
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
}

void IntEdit::OnEdited(const QString& text)
{
    if (!m_feature)
        return;
    // The forms the edit shows (decimal, hexadecimal, IPv4, MAC by representation) are the forms it takes.
    int64_t value = 0;
    const QString shown = m_feature->GetValueAsString();
    if (text.trimmed() == shown)
    {
        // Unchanged text (focus left the box) writes nothing.
    }
    else if (ValueText::ParseInteger(text, m_feature->GetRepresentation(), &value))
        m_feature->SetIntValue(m_feature->Clamp(value));
    else
        LogMessageSender::Error(QStringLiteral("-"), QStringLiteral("FeatureControls::IntEdit"),
                                QStringLiteral("\"%1\" is not a value of %2; nothing was written.")
                                    .arg(text.trimmed(), m_feature->GetName()));
    // Whatever was typed, the field shows what the source holds now.
    UpdateValue();
}

void IntEdit::UpdateValue()
{
    if (m_feature)
        setText(m_feature->GetValueAsString());
}

// --- RegisterEdit

RegisterEdit::RegisterEdit(QWidget* parent) : CustomEdit(parent)
{
    QFont monospace(QStringLiteral("Monospace"));
    monospace.setStyleHint(QFont::TypeWriter);
    setFont(monospace);
    SetFeature(nullptr);
}

RegisterEdit::~RegisterEdit()
{
    Detach();
}

void RegisterEdit::Detach()
{
    DisconnectAll(m_connections);
    m_feature = nullptr;
}

void RegisterEdit::SetFeature(FeatureInterface* feature)
{
    Detach();
    auto* typed = qobject_cast<RegisterFeatureInterface*>(feature);
    if (!typed)
    {
        setInputMask(QString());
        clear();
        setEnabled(false);
        return;
    }
    m_feature = typed;
    const int64_t length = typed->GetLength();
    // A mask per byte; a very long register is edited without one rather than with a huge mask.
    setInputMask(length > 0 && length <= 256 ? QStringLiteral("HH ").repeated(int(length)).trimmed() : QString());
    UpdateValue();
    setEnabled(typed->IsWriteable());
    m_connections << connect(this, &CustomEdit::Signal_EditingFinished, this, &RegisterEdit::OnEdited);
    m_connections << connect(typed, &RegisterFeatureInterface::DataChanged, this, &RegisterEdit::UpdateValue);
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, &QWidget::setEnabled);
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
}

void RegisterEdit::OnEdited(const QString& text)
{
    if (!m_feature)
        return;
    QString hex = text;
    hex.remove(QLatin1Char(' '));
    const int64_t length = m_feature->GetLength();
    if (hex.size() % 2 == 0 && (length <= 0 || hex.size() / 2 == length))
    {
        const QByteArray bytes = QByteArray::fromHex(hex.toLatin1());
        if (bytes.size() * 2 == hex.size())
            m_feature->SetData(std::vector<uint8_t>(bytes.begin(), bytes.end()));
    }
    UpdateValue();
}

void RegisterEdit::UpdateValue()
{
    if (m_feature)
        setText(m_feature->GetValueAsString());
}

// --- SpinBox

SpinBox::SpinBox(QWidget* parent) : CustomSpinbox(parent)
{
    SetDecimals(0);
    SetFeature(nullptr);
}

SpinBox::~SpinBox()
{
    Detach();
}

void SpinBox::Detach()
{
    DisconnectAll(m_connections);
    m_feature = nullptr;
}

void SpinBox::SetFeature(FeatureInterface* feature)
{
    Detach();
    auto* typed = qobject_cast<IntegerFeatureInterface*>(feature);
    if (!typed)
    {
        SetRange(0, 0);
        SetValue(0);
        setEnabled(false);
        return;
    }
    m_feature = typed;
    UpdateRange(typed->GetMinimum(false), typed->GetMaximum(false), typed->GetIncrement(false));
    UpdateValue();
    setEnabled(typed->IsWriteable());
    m_connections << connect(this, &CustomSpinbox::ValueChanged, typed, [this](double value) {
        if (m_feature)
            m_feature->SetIntValue(m_feature->Clamp(int64_t(std::llround(value))));
    });
    m_connections << connect(typed, &IntegerFeatureInterface::IntRangeChanged, this, &SpinBox::UpdateRange);
    m_connections << connect(typed, &IntegerFeatureInterface::IntValueChanged, this, &SpinBox::UpdateValue);
    m_connections << connect(typed, &FeatureInterface::WriteableChanged, this, &QWidget::setEnabled);
    m_connections << connect(typed, &QObject::destroyed, this, [this] { SetFeature(nullptr); });
}

void SpinBox::UpdateRange(int64_t min, int64_t max, int64_t inc)
{
    SetRange(double(min), double(max));
    SetStep(double(inc > 0 ? inc : 1));
}

void SpinBox::UpdateValue()
{
    if (m_feature)
        SetValue(double(m_feature->GetIntValue(false)));
}

} // namespace FeatureControls
