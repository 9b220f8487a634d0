#include "features/camerafeatureaccessor.h"

#include "nodetree/nodemapaccess.h"
#include "nodetree/treeitem.h"

namespace {

using Mode = NodeMapAccess::UpdateMode;
using What = NodeMapAccess::ReturnValueType;

// Number-aware equality: a qlonglong 8 and an int 8 from two paths are the same value told.
bool SameValue(const QVariant& a, const QVariant& b)
{
    if (!a.isValid() || !b.isValid())
        return a.isValid() == b.isValid();
    return a.type() == b.type() ? a == b : a.toString() == b.toString();
}

} // namespace

CameraFeatureAccessorInterface::CameraFeatureAccessorInterface(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<FeatureAccess>("FeatureAccess");
    qRegisterMetaType<std::vector<uint8_t>>("std::vector<uint8_t>");
}

CameraFeatureAccessorInterface::~CameraFeatureAccessorInterface()
{
    DisconnectSignals();
}

bool CameraFeatureAccessorInterface::IsAvailable() const
{
    if (!m_bound || !m_item || !m_nodeMapAccess || !m_nodeMapAccess->IsConnected())
        return false;
    return m_isAvailableFunction() && IsItemAvailable();
}

FeatureAccess CameraFeatureAccessorInterface::UnavailableAccess() const
{
    if (!m_bound || !m_item || !m_nodeMapAccess || !m_nodeMapAccess->IsConnected())
        return FeatureAccess::Unbound;
    if (m_item->GetAccess() == FeatureAccess::NotImplemented)
        return FeatureAccess::NotImplemented;
    return FeatureAccess::NotAvailable;
}

void CameraFeatureAccessorInterface::RefreshAccess()
{
    SetAccess(IsAvailable() ? ReadAccess() : UnavailableAccess());
}

bool CameraFeatureAccessorInterface::IsItemAvailable() const
{
    return m_item->GetAccess() != FeatureAccess::NotImplemented;
}

QString CameraFeatureAccessorInterface::GetName() const
{
    return m_bound && m_item ? m_item->name : QString();
}

QString CameraFeatureAccessorInterface::GetDisplayName() const
{
    return m_bound && m_item ? m_item->displayName : QString();
}

QString CameraFeatureAccessorInterface::GetTooltip() const
{
    return m_bound && m_item ? m_item->tooltip : QString();
}

QString CameraFeatureAccessorInterface::GetDescription() const
{
    return m_bound && m_item ? m_item->description : QString();
}

FeatureType CameraFeatureAccessorInterface::GetType() const
{
    return m_bound && m_item ? m_item->type : FeatureType(-2);
}

int CameraFeatureAccessorInterface::GetVisibility() const
{
    return m_bound && m_item ? m_item->visibility : 0;
}

int CameraFeatureAccessorInterface::GetPrecision() const
{
    return IsAvailable() ? m_nodeMapAccess->GetPrecision(m_item) : 0;
}

qint8 CameraFeatureAccessorInterface::GetRepresentation() const
{
    return IsAvailable() ? m_nodeMapAccess->GetRepresentation(m_item) : qint8(-2);
}

FeatureAccess CameraFeatureAccessorInterface::ReadAccess()
{
    m_nodeMapAccess->UpdateAccess(m_item, Mode::Quiet);
    return m_item->GetAccess();
}

void CameraFeatureAccessorInterface::SetAccess(FeatureAccess access)
{
    // An application lock makes the node read-only for every control, whatever the camera says.
    if (m_item && m_item->HasApplicationLock())
    {
        if (access == FeatureAccess::ReadWrite)
            access = FeatureAccess::ReadOnly;
        else if (access == FeatureAccess::WriteOnly)
            access = FeatureAccess::NotAvailable;
    }
    if (access == m_access)
        return;
    m_access = access;
    Q_EMIT AccessChanged(access);
    const bool readable = IsReadableAccess(access);
    const bool writeable = IsWriteableAccess(access);
    if (readable != m_readable || writeable != m_writeable)
    {
        m_readable = readable;
        m_writeable = writeable;
        Q_EMIT ReadableChanged(readable);
        Q_EMIT WriteableChanged(writeable);
    }
}

FeatureAccess CameraFeatureAccessorInterface::GetAccess()
{
    RefreshAccess();
    return m_access;
}

bool CameraFeatureAccessorInterface::IsWriteable()
{
    return IsAvailable() && IsWriteableAccess(GetAccess());
}

bool CameraFeatureAccessorInterface::IsReadable()
{
    return IsAvailable() && IsReadableAccess(GetAccess());
}

bool CameraFeatureAccessorInterface::IsAccessible()
{
    return IsAvailable() && IsAccessibleAccess(GetAccess());
}

void CameraFeatureAccessorInterface::UpdateAccess()
{
    RefreshAccess();
}

void CameraFeatureAccessorInterface::DisconnectSignals()
{
    for (const auto& connection : m_connections)
        QObject::disconnect(connection);
    m_connections.clear();
}

void CameraFeatureAccessorInterface::Bind()
{
    if (!m_item)
        return;
    DisconnectSignals();
    m_connections.push_back(
        connect(m_item, &TreeItem::valueChanged, this, [this](const QVariant& value, int) { OnValueChanged(value); }));
    m_connections.push_back(
        connect(m_item, &TreeItem::accessChanged, this, &CameraFeatureAccessorInterface::OnAccessChanged));
    m_connections.push_back(
        connect(m_item, &TreeItem::entriesChanged, this, &CameraFeatureAccessorInterface::EntriesChanged));
    m_connections.push_back(connect(
        m_item, &TreeItem::rangeChanged, this,
        [this](const QVariant& min, const QVariant& max, const QVariant& inc, int) { OnRangeChanged(min, max, inc); }));
    m_connections.push_back(connect(m_item, &TreeItem::executed, this, &CameraFeatureAccessorInterface::Executed));
    // NodeMapAccess deletes its tree when it gets a new node map: the feature must not keep the old item.
    m_connections.push_back(connect(m_item, &QObject::destroyed, this, [this] { Unbind(); }));
}

void CameraFeatureAccessorInterface::SetSource(TreeItem* item, NodeMapAccess* nodeMapAccess)
{
    DisconnectSignals();
    m_bound = true;
    m_item = item;
    m_nodeMapAccess = nodeMapAccess;
    if (item)
    {
        m_readable = item->IsReadable();
        m_writeable = item->IsWriteable();
    }
    ForgetTold();
    Bind();
}

void CameraFeatureAccessorInterface::ForgetTold()
{
    m_lastValue = QVariant();
    m_lastMin = QVariant();
    m_lastMax = QVariant();
    m_lastInc = QVariant();
}

void CameraFeatureAccessorInterface::Disconnected()
{
    ForgetTold();
    SetAccess(FeatureAccess::Unbound);
}

void CameraFeatureAccessorInterface::ReadBack()
{
    if (!IsAvailable())
        return;
    m_lastValue = QVariant();
    OnValueChanged(GetValue(true));
}

void CameraFeatureAccessorInterface::Unbind()
{
    DisconnectSignals();
    m_item = nullptr;
    m_nodeMapAccess = nullptr;
    m_bound = false;
    ForgetTold();
    SetAccess(FeatureAccess::Unbound);
}

void CameraFeatureAccessorInterface::Sync()
{
    if (!m_item || !m_nodeMapAccess)
        return;
    m_nodeMapAccess->UpdateAccess(m_item, Mode::Normal);
    m_nodeMapAccess->UpdateMinimum(m_item, Mode::Normal);
    m_nodeMapAccess->UpdateMaximum(m_item, Mode::Normal);
    m_nodeMapAccess->UpdateIncrement(m_item, Mode::Normal);
    m_nodeMapAccess->UpdateEntries(m_item, Mode::Normal);
    EmitRange();
    {
        const QSignalBlocker blocker(this);
        UpdateValue();
        UpdateAccess();
    }
    // The blocked reads above updated what was told without telling it: tell all of it now.
    const FeatureAccess access = m_access;
    Q_EMIT AccessChanged(access);
    Q_EMIT ReadableChanged(m_readable);
    Q_EMIT WriteableChanged(m_writeable);
    if (m_item->type == FeatureType::Integer || m_item->type == FeatureType::Float)
        Q_EMIT RangeChanged(GetMinimum(false), GetMaximum(false), GetIncrement(false));
    if (m_item->type == FeatureType::Enumeration)
        Q_EMIT EntriesChanged(m_item->GetEntries());
    m_lastValue = QVariant();
    OnValueChanged(GetValue(false));
}

void CameraFeatureAccessorInterface::UpdateValue()
{
    if (IsAvailable())
        m_nodeMapAccess->UpdateValue(m_item, Mode::Normal);
}

void CameraFeatureAccessorInterface::EmitRange()
{
    if (!IsAvailable())
        return;
    const QVariant min = GetMinimum(true);
    const QVariant max = GetMaximum(true);
    const QVariant inc = GetIncrement(true);
    if (!min.isValid() || !max.isValid())
        return;
    m_lastMin = min;
    m_lastMax = max;
    m_lastInc = inc.isValid() ? inc : QVariant::fromValue<qlonglong>(0);
    Q_EMIT RangeChanged(m_lastMin, m_lastMax, m_lastInc);
}

QVariant CameraFeatureAccessorInterface::GetValue(bool update)
{
    if (!IsAvailable())
        return QVariant();
    if (update)
        UpdateValue();
    return m_item->GetValue();
}

QVariant CameraFeatureAccessorInterface::GetMinimum(bool update)
{
    if (!IsAvailable())
        return QVariant();
    if (update)
        m_nodeMapAccess->UpdateMinimum(m_item, Mode::Normal);
    return m_item->GetMinimum();
}

QVariant CameraFeatureAccessorInterface::GetMaximum(bool update)
{
    if (!IsAvailable())
        return QVariant();
    if (update)
        m_nodeMapAccess->UpdateMaximum(m_item, Mode::Normal);
    return m_item->GetMaximum();
}

QVariant CameraFeatureAccessorInterface::GetIncrement(bool update)
{
    if (!IsAvailable())
        return QVariant();
    if (update)
        m_nodeMapAccess->UpdateIncrement(m_item, Mode::Normal);
    return m_item->GetIncrement();
}

QStringList CameraFeatureAccessorInterface::GetEntries(bool update)
{
    if (!IsAvailable())
        return {};
    if (update)
        m_nodeMapAccess->UpdateEntries(m_item, Mode::Normal);
    return m_item->GetEntries();
}

bool CameraFeatureAccessorInterface::WriteDirect(TreeItem* item, NodeMapAccess* access, const QVariant& value,
                                                 ValueType type) const
{
    if (!item || !access)
        return false;
    bool ok = false;
    switch (type)
    {
    case ValueType::Integer:
        ok = access->SetValue(item, int64_t(value.toLongLong()), true);
        break;
    case ValueType::Double:
        ok = access->SetValue(item, value.toDouble(), true);
        break;
    case ValueType::String:
        ok = access->SetValue(item, value.toString(), true);
        break;
    case ValueType::Boolean:
        ok = access->SetValue(item, value.toBool(), true);
        break;
    default:
        ok = access->SetValueGeneric(item, value, true);
        break;
    }
    access->UpdateValue(item, Mode::Normal);
    return ok;
}

void CameraFeatureAccessorInterface::SetValue(const QVariant& value, ValueType type)
{
    if (!IsAvailable())
        return;
    WriteDirect(m_item, m_nodeMapAccess, value, type);
}

void CameraFeatureAccessorInterface::IncrementValue()
{
    if (IsAvailable())
        m_nodeMapAccess->IncrementValue(m_item);
}

void CameraFeatureAccessorInterface::DecrementValue()
{
    if (IsAvailable())
        m_nodeMapAccess->DecrementValue(m_item);
}

void CameraFeatureAccessorInterface::Execute(bool wait)
{
    if (IsAvailable())
        m_nodeMapAccess->Execute(m_item, wait);
}

void CameraFeatureAccessorInterface::OnValueChanged(QVariant value)
{
    if (!IsAvailable())
        return;
    if (m_lastValue.isValid() && SameValue(value, m_lastValue))
        return;
    m_lastValue = value;
    Q_EMIT ValueChanged(value);
}

// A node that turns not implemented (or unavailable, or whose map disconnects) is told as such, so that its
// controls turn off instead of writing nowhere.
void CameraFeatureAccessorInterface::OnAccessChanged(FeatureAccess access)
{
    if (!m_bound || !m_item)
        return;
    SetAccess(IsAvailable() ? access : UnavailableAccess());
}

void CameraFeatureAccessorInterface::OnRangeChanged(QVariant min, QVariant max, QVariant inc)
{
    if (!IsAvailable())
        return;
    if (SameValue(min, m_lastMin) && SameValue(max, m_lastMax) && SameValue(inc, m_lastInc))
        return;
    if (!min.isValid() || !max.isValid())
        return;
    m_lastMin = min;
    m_lastMax = max;
    m_lastInc = inc.isValid() ? inc : QVariant::fromValue<qlonglong>(0);
    Q_EMIT RangeChanged(m_lastMin, m_lastMax, m_lastInc);
}

// --- SelectedCameraFeatureAccessor

SelectedCameraFeatureAccessor::SelectedCameraFeatureAccessor(const QString& selectorEntry, QObject* parent)
    : CameraFeatureAccessorInterface(parent), m_selectorEntry(selectorEntry)
{
}

QString SelectedCameraFeatureAccessor::SelectorEntry() const
{
    QMutexLocker lock(&m_entryMutex);
    return m_selectorEntry;
}

bool SelectedCameraFeatureAccessor::SelectorOnEntry() const
{
    TreeItem* selector = m_item ? m_item->parent : nullptr;
    return selector && selector->GetValue().toString() == SelectorEntry();
}

// From the selector's cached entries, which the worker keeps current and tells by entriesChanged (see Bind);
// read once here while nothing is cached yet.
bool SelectedCameraFeatureAccessor::IsItemAvailable() const
{
    TreeItem* selector = m_item->parent;
    if (!selector)
        return false;
    if (selector->GetEntries().isEmpty())
        m_nodeMapAccess->UpdateEntries(selector, Mode::Quiet);
    return selector->GetEntries().contains(SelectorEntry());
}

void SelectedCameraFeatureAccessor::Bind()
{
    if (!m_item)
        return;
    DisconnectSignals();
    // The item tells values under whatever entry the selector stands on; only those of our entry count, so
    // that a change of the selector's current entry does not disturb this feature.
    m_connections.push_back(connect(m_item, &TreeItem::valueChanged, this, [this](const QVariant& value, int) {
        if (SelectorOnEntry())
            OnValueChanged(value);
    }));
    m_connections.push_back(
        connect(m_item, &TreeItem::accessChanged, this, [this](FeatureAccess) { RefreshAccess(); }));
    // The entry of this accessor can vanish from the selector (or come back): the feature is then
    // unavailable (available) and its controls follow.
    if (m_item->parent)
        m_connections.push_back(
            connect(m_item->parent, &TreeItem::entriesChanged, this, [this](const QStringList&) { RefreshAccess(); }));
    m_connections.push_back(
        connect(m_item, &TreeItem::entriesChanged, this, &CameraFeatureAccessorInterface::EntriesChanged));
    m_connections.push_back(
        connect(m_item, &TreeItem::rangeChanged, this, [this](const QVariant&, const QVariant&, const QVariant&, int) {
            if (SelectorOnEntry())
                OnRangeChanged(GetMinimum(false), GetMaximum(false), GetIncrement(false));
        }));
    m_connections.push_back(connect(m_item, &TreeItem::executed, this, &CameraFeatureAccessorInterface::Executed));
    m_connections.push_back(connect(m_item, &QObject::destroyed, this, [this] { Unbind(); }));
}

FeatureAccess SelectedCameraFeatureAccessor::ReadAccess()
{
    return FeatureAccess(int(m_nodeMapAccess->GetSelectedAccess(m_item, SelectorEntry(), true, true)));
}

void SelectedCameraFeatureAccessor::UpdateValue()
{
    if (IsAvailable())
        OnValueChanged(GetValue(false));
}

void SelectedCameraFeatureAccessor::EmitRange()
{
    if (!IsAvailable())
        return;
    const QVariant min = GetMinimum(true);
    const QVariant max = GetMaximum(true);
    if (!min.isValid() || !max.isValid())
        return;
    const QVariant inc = GetIncrement(true);
    m_lastMin = min;
    m_lastMax = max;
    m_lastInc = inc.isValid() ? inc : QVariant::fromValue<qlonglong>(0);
    Q_EMIT RangeChanged(m_lastMin, m_lastMax, m_lastInc);
}

// The selected reads always go to the node (select, read, restore): the item's cache holds the value of
// the selector's current entry, which need not be ours.
QVariant SelectedCameraFeatureAccessor::GetValue(bool)
{
    if (!IsAvailable())
        return QVariant();
    return m_nodeMapAccess->GetSelectedValueGeneric(m_item, SelectorEntry(), true, true, What::Value);
}

QVariant SelectedCameraFeatureAccessor::GetMinimum(bool)
{
    if (!IsAvailable())
        return QVariant();
    return m_nodeMapAccess->GetSelectedValueGeneric(m_item, SelectorEntry(), true, true, What::Minimum);
}

QVariant SelectedCameraFeatureAccessor::GetMaximum(bool)
{
    if (!IsAvailable())
        return QVariant();
    return m_nodeMapAccess->GetSelectedValueGeneric(m_item, SelectorEntry(), true, true, What::Maximum);
}

QVariant SelectedCameraFeatureAccessor::GetIncrement(bool)
{
    if (!IsAvailable())
        return QVariant();
    return m_nodeMapAccess->GetSelectedValueGeneric(m_item, SelectorEntry(), true, true, What::Increment);
}

bool SelectedCameraFeatureAccessor::WriteDirect(TreeItem* item, NodeMapAccess* access, const QVariant& value,
                                                ValueType type) const
{
    if (!item || !access)
        return false;
    QVariant typed = value;
    switch (type)
    {
    case ValueType::Integer:
        typed = QVariant::fromValue<qlonglong>(value.toLongLong());
        break;
    case ValueType::Double:
        typed = QVariant(value.toDouble());
        break;
    case ValueType::String:
        typed = QVariant(value.toString());
        break;
    case ValueType::Boolean:
        typed = QVariant(value.toBool());
        break;
    default:
        break;
    }
    return access->SetSelectedValueGeneric(item, SelectorEntry(), typed, true, true);
}

void SelectedCameraFeatureAccessor::SetValue(const QVariant& value, ValueType type)
{
    if (!IsAvailable())
        return;
    WriteDirect(m_item, m_nodeMapAccess, value, type);
    OnValueChanged(GetValue(true));
}

void SelectedCameraFeatureAccessor::IncrementValue()
{
    if (IsAvailable())
        m_nodeMapAccess->IncrementSelectedValue(m_item, SelectorEntry());
}

void SelectedCameraFeatureAccessor::DecrementValue()
{
    if (IsAvailable())
        m_nodeMapAccess->DecrementSelectedValue(m_item, SelectorEntry());
}

void SelectedCameraFeatureAccessor::Execute(bool)
{
    if (IsAvailable())
        m_nodeMapAccess->ExecuteSelected(m_item, SelectorEntry(), true, true);
}

// --- SelectableCameraFeatureAccessor

SelectableCameraFeatureAccessor::SelectableCameraFeatureAccessor(const QString& selectorEntry, bool selectionActive,
                                                                 QObject* parent)
    : SelectedCameraFeatureAccessor(selectorEntry, parent), m_selectionActive(selectionActive)
{
}

void SelectableCameraFeatureAccessor::SetSelectorEntry(const QString& entry)
{
    {
        QMutexLocker lock(&m_entryMutex);
        if (m_selectorEntry == entry)
            return;
        m_selectorEntry = entry;
    }
    if (m_selectionActive)
        Sync();
}

void SelectableCameraFeatureAccessor::SetSelectionActive(bool active)
{
    if (m_selectionActive.exchange(active) == active)
        return;
    Bind();
    Sync();
}

#define LUMIVUE_SELECTABLE_FORWARD(call)                                                                               \
    return m_selectionActive ? SelectedCameraFeatureAccessor::call : CameraFeatureAccessorInterface::call

void SelectableCameraFeatureAccessor::Bind()
{
    LUMIVUE_SELECTABLE_FORWARD(Bind());
}
void SelectableCameraFeatureAccessor::UpdateValue()
{
    LUMIVUE_SELECTABLE_FORWARD(UpdateValue());
}
void SelectableCameraFeatureAccessor::EmitRange()
{
    LUMIVUE_SELECTABLE_FORWARD(EmitRange());
}
QVariant SelectableCameraFeatureAccessor::GetValue(bool update)
{
    LUMIVUE_SELECTABLE_FORWARD(GetValue(update));
}
void SelectableCameraFeatureAccessor::SetValue(const QVariant& value, ValueType type)
{
    LUMIVUE_SELECTABLE_FORWARD(SetValue(value, type));
}
QVariant SelectableCameraFeatureAccessor::GetMinimum(bool update)
{
    LUMIVUE_SELECTABLE_FORWARD(GetMinimum(update));
}
QVariant SelectableCameraFeatureAccessor::GetMaximum(bool update)
{
    LUMIVUE_SELECTABLE_FORWARD(GetMaximum(update));
}
QVariant SelectableCameraFeatureAccessor::GetIncrement(bool update)
{
    LUMIVUE_SELECTABLE_FORWARD(GetIncrement(update));
}
void SelectableCameraFeatureAccessor::IncrementValue()
{
    LUMIVUE_SELECTABLE_FORWARD(IncrementValue());
}
void SelectableCameraFeatureAccessor::DecrementValue()
{
    LUMIVUE_SELECTABLE_FORWARD(DecrementValue());
}
void SelectableCameraFeatureAccessor::Execute(bool wait)
{
    LUMIVUE_SELECTABLE_FORWARD(Execute(wait));
}
bool SelectableCameraFeatureAccessor::IsItemAvailable() const
{
    LUMIVUE_SELECTABLE_FORWARD(IsItemAvailable());
}
bool SelectableCameraFeatureAccessor::WriteDirect(TreeItem* item, NodeMapAccess* access, const QVariant& value,
                                                  ValueType type) const
{
    LUMIVUE_SELECTABLE_FORWARD(WriteDirect(item, access, value, type));
}
FeatureAccess SelectableCameraFeatureAccessor::ReadAccess()
{
    LUMIVUE_SELECTABLE_FORWARD(ReadAccess());
}

#undef LUMIVUE_SELECTABLE_FORWARD
