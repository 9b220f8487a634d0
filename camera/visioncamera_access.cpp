// VisionCamera typed node access: the small family of bool-returning reads and writes through which everything
// outside the node tree reaches camera parameters, the trigger mode, and the pixel format tables.
//
// Every operation is safe from any thread: each node call takes the node map's own recursive mutex, and the
// selected forms hold that mutex across select, access and restore so the node polling thread cannot slip a
// read in between. Absent nodes are normal (cameras differ) and give false silently; a failing access logs
// once with the method's own signature as context.
#include "camera/visioncamera.h"
#include "common/applicationglobals.h"
#include "common/logmessagesender.h"
#include "orna/core/datastream.h"
#include "orna/core/nodemap.h"
#include "orna/core/nodes.h"
#include "orna/ipl/imageconverter.h"
#include "orna/ipl/pixelformat.h"
#include "processing/aflmanager.h"
#include "processing/iplbinningfeatureprovider.h"
#include "processing/iplcolorcorrectionfeatureprovider.h"
#include "processing/ipldecimationfeatureprovider.h"
#include "processing/ipledgeenhancementfeatureprovider.h"
#include "processing/iplgainfeatureprovider.h"
#include "processing/iplgammafeatureprovider.h"
#include "processing/iplhotpixelfeatureprovider.h"
#include "processing/iplsharpnessfeatureprovider.h"
#include "processing/ipltransformationfeatureprovider.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <mutex>

using orna::core::NodeMap;
using namespace orna::core::nodes;

namespace {

int AccessOf(const std::shared_ptr<Node>& node)
{
    return int(node->GetAccessStatus());
}

bool ValidReadType(ReadValueType type)
{
    const int t = int(type);
    return t >= 0 && t <= 3;
}

bool ReadInteger(const IntegerNode& node, ReadValueType type, int64_t& value)
{
    switch (type)
    {
    case ReadValueType::Minimum:
        value = node.GetMinimum();
        return true;
    case ReadValueType::Maximum:
        value = node.GetMaximum();
        return true;
    case ReadValueType::Increment:
        value = node.GetIncrement();
        return true;
    case ReadValueType::Value:
        value = node.GetValue(false);
        return true;
    }
    return false;
}

bool ReadFloat(const FloatNode& node, ReadValueType type, double& value, double defaultIncrement)
{
    switch (type)
    {
    case ReadValueType::Minimum:
        value = node.GetMinimum();
        return true;
    case ReadValueType::Maximum:
        value = node.GetMaximum();
        return true;
    case ReadValueType::Increment:
        value = node.GetHasConstantIncrement() ? node.GetIncrement() : defaultIncrement;
        return true;
    case ReadValueType::Value:
        value = node.GetValue(false);
        return true;
    }
    return false;
}

// The entry of an enumeration by symbolic value when it exists and is available; null otherwise.
std::shared_ptr<EnumerationEntryNode> AvailableEntry(const EnumerationNode& node, const std::string& symbolic)
{
    for (const auto& entry : node.GetEntries())
    {
        if (entry && entry->GetSymbolicValue() == symbolic)
            return camera::access::IsAccessible(AccessOf(entry)) ? entry : nullptr;
    }
    return nullptr;
}

// Finds name as T when present and its access allows the operation. Absent or inaccessible: null, silently.
template <typename T>
std::shared_ptr<T> UsableNode(const std::shared_ptr<NodeMap>& map, const std::string& name, bool needWritable)
{
    if (!map || !map->GetHasNode(name))
        return nullptr;
    auto node = map->FindNode<T>(name);
    const int access = AccessOf(node);
    if (needWritable ? !camera::access::IsWritable(access) : !camera::access::IsAccessible(access))
        return nullptr;
    return node;
}

// The plain scalar write of the typed family: a usable, writable node takes the value.
template <typename T, typename V>
bool WriteUsable(const std::shared_ptr<NodeMap>& map, const std::string& name, const V& value)
{
    auto node = UsableNode<T>(map, name, true);
    if (!node)
        return false;
    node->SetValue(value);
    return true;
}

// Runs fn under a catch that logs what() with the camera's key and context, giving false on an exception.
template <typename Fn> bool Guarded(const QString& origin, const char* context, Fn&& fn)
{
    try
    {
        return fn();
    }
    catch (const std::exception& e)
    {
        LogMessageSender::Error(origin, QString::fromLatin1(context), QString::fromUtf8(e.what()));
        return false;
    }
}

// Selects an entry of a selector for the lifetime of the scope and, when asked, puts the previous entry back
// (also when the access in between raised). Holds the node map's mutex meanwhile.
class SelectorScope
{
public:
    SelectorScope(const std::shared_ptr<NodeMap>& map_, const std::string& selectorName, const std::string& wanted,
                  bool restore_, const QString& origin_, const char* context_)
        : map(map_), lock(*map_), restore(restore_), origin(origin_), context(context_)
    {
        selector = map->FindNode<EnumerationNode>(selectorName);
        auto current = selector->GetCurrentEntry();
        saved = current ? current->GetSymbolicValue() : std::string();
        if (saved == wanted)
        {
            ok = true;
            return;
        }
        if (!camera::access::IsWritable(AccessOf(selector)))
            return;
        auto entry = AvailableEntry(*selector, wanted);
        if (!entry)
            return;
        selector->SetCurrentEntry(entry);
        changed = true;
        ok = true;
    }
    ~SelectorScope()
    {
        if (!restore || !changed)
            return;
        try
        {
            selector->SetCurrentEntryBySymbolicValue(saved);
        }
        catch (const std::exception& e)
        {
            LogMessageSender::Error(origin, QString::fromLatin1(context), QString::fromUtf8(e.what()));
        }
    }
    SelectorScope(const SelectorScope&) = delete;
    SelectorScope& operator=(const SelectorScope&) = delete;

    bool Ok() const { return ok; }

private:
    std::shared_ptr<NodeMap> map;
    std::lock_guard<NodeMap> lock;
    std::shared_ptr<EnumerationNode> selector;
    std::string saved;
    bool changed = false;
    bool ok = false;
    const bool restore;
    const QString origin;
    const char* context;
};

bool HasNodes(const std::shared_ptr<NodeMap>& map, const std::string& a, const std::string& b)
{
    return map && map->GetHasNode(a) && map->GetHasNode(b);
}

} // namespace

// ---- Scalar reads and writes

bool VisionCamera::GetIntegerValue(const std::string& name, ReadValueType type, int64_t& value) const
{
    if (!ValidReadType(type))
        return false;
    return Guarded(keyText, "bool VisionCamera::GetIntegerValue(const std::string &, ReadValueType, int64_t &) const",
                   [&] {
                       auto node = UsableNode<IntegerNode>(remoteDeviceNodeMap, name, false);
                       return node && ReadInteger(*node, type, value);
                   });
}

bool VisionCamera::GetDoubleValue(const std::string& name, ReadValueType type, double& value, double defaultIncrement)
{
    if (!ValidReadType(type))
        return false;
    return Guarded(keyText, "bool VisionCamera::GetDoubleValue(const std::string &, ReadValueType, double &, double)",
                   [&] {
                       auto node = UsableNode<FloatNode>(remoteDeviceNodeMap, name, false);
                       return node && ReadFloat(*node, type, value, defaultIncrement);
                   });
}

bool VisionCamera::GetBoolValue(const std::string& name, bool& value)
{
    return Guarded(keyText, "bool VisionCamera::GetBoolValue(const std::string &, bool &)", [&] {
        auto node = UsableNode<BooleanNode>(remoteDeviceNodeMap, name, false);
        if (!node)
            return false;
        value = node->GetValue();
        return true;
    });
}

bool VisionCamera::GetEnumerationEntry(const std::string& name, std::string& entry) const
{
    return Guarded(keyText, "bool VisionCamera::GetEnumerationEntry(const std::string &, std::string &) const", [&] {
        auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, name, false);
        if (!node)
            return false;
        auto current = node->GetCurrentEntry();
        if (!current)
            return false;
        entry = current->GetSymbolicValue();
        return true;
    });
}

bool VisionCamera::GetStringValue(const std::string& name, std::string& value) const
{
    return Guarded(keyText, "bool VisionCamera::GetStringValue(const std::string &, std::string &) const", [&] {
        auto node = UsableNode<StringNode>(remoteDeviceNodeMap, name, false);
        if (!node)
            return false;
        value = node->GetValue();
        return true;
    });
}

bool VisionCamera::SetIntegerValue(const std::string& name, int64_t value)
{
    return Guarded(keyText, "bool VisionCamera::SetIntegerValue(const std::string &, int64_t)",
                   [&] { return WriteUsable<IntegerNode>(remoteDeviceNodeMap, name, value); });
}

bool VisionCamera::SetDoubleValue(const std::string& name, double value)
{
    return Guarded(keyText, "bool VisionCamera::SetDoubleValue(const std::string &, double)",
                   [&] { return WriteUsable<FloatNode>(remoteDeviceNodeMap, name, value); });
}

bool VisionCamera::SetBoolValue(const std::string& name, bool value)
{
    return Guarded(keyText, "bool VisionCamera::SetBoolValue(const std::string &, bool)",
                   [&] { return WriteUsable<BooleanNode>(remoteDeviceNodeMap, name, value); });
}

bool VisionCamera::SetEnumerationEntry(const std::string& name, const std::string& entry)
{
    return Guarded(keyText, "bool VisionCamera::SetEnumerationEntry(const std::string &, const std::string &)", [&] {
        auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, name, true);
        if (!node)
            return false;
        auto target = AvailableEntry(*node, entry);
        if (!target)
            return false;
        node->SetCurrentEntry(target);
        return true;
    });
}

bool VisionCamera::SetStringValue(const std::string& name, const std::string& value)
{
    return Guarded(keyText, "bool VisionCamera::SetStringValue(const std::string &, const std::string &)",
                   [&] { return WriteUsable<StringNode>(remoteDeviceNodeMap, name, value); });
}

bool VisionCamera::ExecuteCommand(const std::string& name)
{
    return Guarded(keyText, "bool VisionCamera::ExecuteCommand(const std::string &)", [&] {
        auto node = UsableNode<CommandNode>(remoteDeviceNodeMap, name, true);
        if (!node)
            return false;
        node->Execute();
        return true;
    });
}

bool VisionCamera::ExecuteCommandAndWait(const std::string& name, uint64_t timeoutMs)
{
    return Guarded(keyText, "bool VisionCamera::ExecuteCommandAndWait(const std::string &, uint64_t)", [&] {
        auto node = UsableNode<CommandNode>(remoteDeviceNodeMap, name, true);
        if (!node)
            return false;
        node->Execute();
        node->WaitUntilDone(timeoutMs);
        return true;
    });
}

bool VisionCamera::HasEnumerationEntry(const std::string& name, const std::string& entry)
{
    return Guarded(keyText, "bool VisionCamera::HasEnumerationEntry(const std::string &, const std::string &)", [&] {
        auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, name, false);
        return node && AvailableEntry(*node, entry) != nullptr;
    });
}

bool VisionCamera::HasNode(const std::string& name) const
{
    return Guarded(keyText, "bool VisionCamera::HasNode(const std::string &) const",
                   [&] { return remoteDeviceNodeMap && remoteDeviceNodeMap->GetHasNode(name); });
}

bool VisionCamera::IsNodeAccessable(std::shared_ptr<orna::core::nodes::Node> node) const
{
    return Guarded(keyText, "bool VisionCamera::IsNodeAccessable(std::shared_ptr<orna::core::nodes::Node>) const",
                   [&] { return node && camera::access::IsAccessible(AccessOf(node)); });
}

bool VisionCamera::IsNodeWritable(std::shared_ptr<orna::core::nodes::Node> node)
{
    return Guarded(keyText, "bool VisionCamera::IsNodeWritable(std::shared_ptr<orna::core::nodes::Node>)",
                   [&] { return node && camera::access::IsWritable(AccessOf(node)); });
}

// ---- Selected reads and writes

bool VisionCamera::GetSelectedBoolValue(const std::string& name, bool& value, const std::string& selector,
                                        const std::string& selectorEntry, bool restoreSelector)
{
    const char* context = "bool VisionCamera::GetSelectedBoolValue(const std::string &, bool &, const std::string &, "
                          "const std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!HasNodes(remoteDeviceNodeMap, name, selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        auto node = UsableNode<BooleanNode>(remoteDeviceNodeMap, name, false);
        if (!node)
            return false;
        value = node->GetValue();
        return true;
    });
}

bool VisionCamera::SetSelectedBoolValue(const std::string& name, bool value, const std::string& selector,
                                        const std::string& selectorEntry, bool restoreSelector)
{
    const char* context = "bool VisionCamera::SetSelectedBoolValue(const std::string &, bool, const std::string &, "
                          "const std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!HasNodes(remoteDeviceNodeMap, name, selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        auto node = UsableNode<BooleanNode>(remoteDeviceNodeMap, name, true);
        if (!node)
            return false;
        node->SetValue(value);
        return true;
    });
}

bool VisionCamera::GetSelectedEnumerationEntry(const std::string& name, std::string& entry, const std::string& selector,
                                               const std::string& selectorEntry, bool restoreSelector)
{
    const char* context = "bool VisionCamera::GetSelectedEnumerationEntry(const std::string &, std::string &, const "
                          "std::string &, const std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!HasNodes(remoteDeviceNodeMap, name, selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, name, false);
        if (!node)
            return false;
        auto current = node->GetCurrentEntry();
        if (!current)
            return false;
        entry = current->GetSymbolicValue();
        return true;
    });
}

bool VisionCamera::SetSelectedEnumerationEntry(const std::string& name, std::string entry, const std::string& selector,
                                               const std::string& selectorEntry, bool restoreSelector)
{
    const char* context = "bool VisionCamera::SetSelectedEnumerationEntry(const std::string &, std::string, const "
                          "std::string &, const std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!HasNodes(remoteDeviceNodeMap, name, selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, name, true);
        if (!node)
            return false;
        auto target = AvailableEntry(*node, entry);
        if (!target)
            return false;
        node->SetCurrentEntry(target);
        return true;
    });
}

bool VisionCamera::GetSelectedEnumerationEntries(std::vector<std::pair<std::string, std::string>>& entries,
                                                 const std::string& selector, const std::string& selectorEntry,
                                                 bool restoreSelector)
{
    const char* context = "bool VisionCamera::GetSelectedEnumerationEntries(const std::vector<std::pair<std::string, "
                          "std::string>> &, const std::string &, const std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!remoteDeviceNodeMap || !remoteDeviceNodeMap->GetHasNode(selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        bool all = true;
        for (auto& pair : entries)
        {
            auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, pair.first, false);
            auto current = node ? node->GetCurrentEntry() : nullptr;
            if (!current)
            {
                all = false;
                continue;
            }
            pair.second = current->GetSymbolicValue();
        }
        return all;
    });
}

bool VisionCamera::SetSelectedEnumerationEntries(const std::vector<std::pair<std::string, std::string>>& entries,
                                                 const std::string& selector, const std::string& selectorEntry,
                                                 bool restoreSelector)
{
    const char* context = "bool VisionCamera::SetSelectedEnumerationEntries(const std::vector<std::pair<std::string, "
                          "std::string>> &, const std::string &, const std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!remoteDeviceNodeMap || !remoteDeviceNodeMap->GetHasNode(selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        bool all = true;
        for (const auto& pair : entries)
        {
            auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, pair.first, true);
            auto target = node ? AvailableEntry(*node, pair.second) : nullptr;
            if (!target)
            {
                all = false;
                continue;
            }
            node->SetCurrentEntry(target);
        }
        return all;
    });
}

bool VisionCamera::HasSelectedEnumerationEntries(const std::vector<std::pair<std::string, std::string>>& entries,
                                                 const std::string& selector, const std::string& selectorEntry,
                                                 bool restoreSelector)
{
    const char* context = "bool VisionCamera::HasSelectedEnumerationEntries(const std::vector<std::pair<std::string, "
                          "std::string>> &, const std::string &, const std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!remoteDeviceNodeMap || !remoteDeviceNodeMap->GetHasNode(selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        for (const auto& pair : entries)
        {
            auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, pair.first, false);
            if (!node || !AvailableEntry(*node, pair.second))
                return false;
        }
        return true;
    });
}

bool VisionCamera::GetSelectedFloatValues(std::vector<std::pair<std::string, double>>& values, ReadValueType type,
                                          const std::string& selector, const std::string& selectorEntry,
                                          bool restoreSelector, double defaultIncrement)
{
    if (!ValidReadType(type))
        return false;
    const char* context = "bool VisionCamera::GetSelectedFloatValues(std::vector<std::pair<std::string, double>> &, "
                          "ReadValueType, const std::string &, const std::string &, bool, double)";
    return Guarded(keyText, context, [&] {
        if (!remoteDeviceNodeMap || !remoteDeviceNodeMap->GetHasNode(selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        bool all = true;
        for (auto& pair : values)
        {
            auto node = UsableNode<FloatNode>(remoteDeviceNodeMap, pair.first, false);
            if (!node || !ReadFloat(*node, type, pair.second, defaultIncrement))
                all = false;
        }
        return all;
    });
}

bool VisionCamera::SetSelectedFloatValues(const std::vector<std::pair<std::string, double>>& values,
                                          const std::string& selector, const std::string& selectorEntry,
                                          bool restoreSelector)
{
    const char* context = "bool VisionCamera::SetSelectedFloatValues(const std::vector<std::pair<std::string, "
                          "double>> &, const std::string &, const std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!remoteDeviceNodeMap || !remoteDeviceNodeMap->GetHasNode(selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        if (!scope.Ok())
            return false;
        bool all = true;
        for (const auto& pair : values)
        {
            auto node = UsableNode<FloatNode>(remoteDeviceNodeMap, pair.first, true);
            if (!node)
            {
                all = false;
                continue;
            }
            node->SetValue(pair.second);
        }
        return all;
    });
}

bool VisionCamera::IsSelectedNodeWritable(const std::string& name, const std::string& selector,
                                          const std::string& selectorEntry, bool restoreSelector)
{
    const char* context = "bool VisionCamera::IsSelectedNodeWritable(const std::string &, const std::string &, const "
                          "std::string &, bool)";
    return Guarded(keyText, context, [&] {
        if (!HasNodes(remoteDeviceNodeMap, name, selector))
            return false;
        SelectorScope scope(remoteDeviceNodeMap, selector, selectorEntry, restoreSelector, keyText, context);
        return scope.Ok() && UsableNode<Node>(remoteDeviceNodeMap, name, true) != nullptr;
    });
}

// ---- Camera vocabulary

bool VisionCamera::GetSensorOperationMode(std::string& mode)
{
    return GetEnumerationEntry("SensorOperationMode", mode);
}

bool VisionCamera::GetSensorShutterMode(camera::SensorShutterMode& mode)
{
    std::string entry;
    if (!GetEnumerationEntry("SensorShutterMode", entry))
        return false;
    if (entry == "Rolling")
        mode = camera::SensorShutterMode::Rolling;
    else if (entry == "Global")
        mode = camera::SensorShutterMode::Global;
    else
        return false;
    return true;
}

namespace {
// The sources "Sensor" and "Region0" that a selector offers as available entries.
template <typename Source>
bool SourcesOf(const std::shared_ptr<NodeMap>& map, const char* selectorName, std::vector<Source>& sources)
{
    auto selector = UsableNode<EnumerationNode>(map, selectorName, false);
    if (!selector)
        return false;
    sources.clear();
    for (Source source : {Source::Sensor, Source::Region0})
        if (AvailableEntry(*selector, camera::SourceEntryName(source)))
            sources.push_back(source);
    return true;
}
} // namespace

bool VisionCamera::GetBinningSourcesSupported(std::vector<camera::BinningSource>& sources)
{
    return Guarded(keyText, "bool VisionCamera::GetBinningSourcesSupported(std::vector<camera::BinningSource> &)",
                   [&] { return SourcesOf(remoteDeviceNodeMap, camera::kBinningSelector, sources); });
}

bool VisionCamera::GetDecimationSourcesSupported(std::vector<camera::DecimationSource>& sources)
{
    return Guarded(keyText, "bool VisionCamera::GetDecimationSourcesSupported(std::vector<camera::DecimationSource> &)",
                   [&] { return SourcesOf(remoteDeviceNodeMap, camera::kDecimationSelector, sources); });
}

bool VisionCamera::IsTriggerModeSupported(camera::TriggerMode mode)
{
    using camera::TriggerMode;
    if (mode == TriggerMode::Off)
        return HasEnumerationEntry("TriggerMode", "Off");
    if (!HasEnumerationEntry("TriggerMode", "On"))
        return false;
    switch (mode)
    {
    case TriggerMode::RisingEdge:
        return HasEnumerationEntry("TriggerActivation", "RisingEdge");
    case TriggerMode::FallingEdge:
        return HasEnumerationEntry("TriggerActivation", "FallingEdge");
    case TriggerMode::AnyEdge:
        return HasEnumerationEntry("TriggerActivation", "AnyEdge");
    case TriggerMode::Software:
        return HasEnumerationEntry("TriggerSource", "Software");
    case TriggerMode::Custom:
        return Guarded(keyText, "bool VisionCamera::IsTriggerModeSupported(camera::TriggerMode)", [&] {
            auto source = UsableNode<EnumerationNode>(remoteDeviceNodeMap, "TriggerSource", false);
            if (!source)
                return false;
            for (const auto& entry : source->GetEntries())
            {
                const std::string symbol = entry->GetSymbolicValue();
                if (symbol != "Software" && symbol != lineTriggerInput && camera::access::IsAccessible(AccessOf(entry)))
                    return true;
            }
            return false;
        });
    case TriggerMode::Off:
        break;
    }
    return false;
}

bool VisionCamera::DetermineTriggerMode(camera::TriggerMode& mode)
{
    using camera::TriggerMode;
    std::string triggerMode;
    if (!GetEnumerationEntry("TriggerMode", triggerMode))
        return false;
    if (triggerMode != "On")
    {
        mode = TriggerMode::Off;
        return true;
    }
    std::string source;
    if (GetEnumerationEntry("TriggerSource", source))
    {
        if (source == "Software")
        {
            mode = TriggerMode::Software;
            return true;
        }
        if (source != lineTriggerInput)
        {
            mode = TriggerMode::Custom;
            return true;
        }
    }
    std::string activation;
    GetEnumerationEntry("TriggerActivation", activation);
    if (activation == "RisingEdge")
        mode = TriggerMode::RisingEdge;
    else if (activation == "FallingEdge")
        mode = TriggerMode::FallingEdge;
    else if (activation == "AnyEdge")
        mode = TriggerMode::AnyEdge;
    else
        mode = TriggerMode::Off;
    return true;
}

camera::TriggerMode VisionCamera::GetTriggerMode(bool freshRead)
{
    {
        QMutexLocker lock(&nodeMapMutex);
        if (triggerModeCached && !freshRead)
            return cachedTriggerMode;
    }
    // Read outside the mutex: the device call may take a while and must not block the table look-ups.
    camera::TriggerMode mode = camera::TriggerMode::Off;
    if (!DetermineTriggerMode(mode))
        mode = camera::TriggerMode::Off;
    QMutexLocker lock(&nodeMapMutex);
    cachedTriggerMode = mode;
    triggerModeCached = true;
    return mode;
}

// ---- Pixel formats

bool VisionCamera::GetSupportedPixelFormatSourceStrings(std::vector<std::string>& names)
{
    return Guarded(keyText, "bool VisionCamera::GetSupportedPixelFormatSourceStrings(std::vector<std::string> &)", [&] {
        auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, "PixelFormat", false);
        if (!node)
            return false;
        names.clear();
        for (const auto& entry : node->GetEntries())
            if (camera::access::IsAccessible(AccessOf(entry)))
                names.push_back(entry->GetSymbolicValue());
        return true;
    });
}

bool VisionCamera::IsPixelFormatSourceSupported(const std::string& name)
{
    std::vector<std::string> names;
    return GetSupportedPixelFormatSourceStrings(names) && std::find(names.begin(), names.end(), name) != names.end();
}

bool VisionCamera::UpdatePixelFormatSource()
{
    const char* context = "bool VisionCamera::UpdatePixelFormatSource()";
    const QString invalid = QStringLiteral("The camera pixel format is invalid. The acquisition can not be started!");
    pixelFormatSource = 0;
    pixelFormatUnpacked = 0;
    uint32_t code = 0;
    bool present = false;
    const bool ok = Guarded(keyText, context, [&] {
        auto node = UsableNode<EnumerationNode>(remoteDeviceNodeMap, "PixelFormat", false);
        if (!node)
            return false;
        present = true;
        auto current = node->GetCurrentEntry();
        if (!current)
            return false;
        code = uint32_t(current->GetValue());
        return true;
    });
    if (!ok || !camera::IsKnownPixelFormat(code))
    {
        // A camera without the node (service firmware) is quiet; a format the system does not know is not.
        if (present)
            LogError(QString::fromLatin1(context), invalid);
        return false;
    }
    pixelFormatSource = code;
    const uint32_t unpacked = camera::GetUnpackedPixelFormat(code);
    pixelFormatUnpacked = unpacked;
    for (FeatureProviderBase* provider : std::initializer_list<FeatureProviderBase*>{
             iplHotpixelFeatureProvider, iplBinningFeatureProvider, iplDecimationFeatureProvider,
             iplTransformationFeatureProvider, iplGainFeatureProvider, iplSharpnessFeatureProvider})
        provider->SetPixelFormat(unpacked);
    AdaptDestinationToTransformation();
    // A destination the tables do not allow for this source gives way to the default; without a default it
    // stays, and the host features panel warns.
    const std::string sourceName = camera::PixelFormatToName(code);
    if (!IsConversionSupported(sourceName, pixelFormatDestination))
    {
        const uint32_t fallback = GetDefaultDestination(sourceName);
        if (fallback != 0)
            SetPixelFormatDestination(fallback);
    }
    return true;
}

void VisionCamera::BuildConversionTables()
{
    IplTransformationFeatureProvider* transformation = iplTransformationFeatureProvider;
    IplGammaFeatureProvider* gamma = iplGammaFeatureProvider;
    // Held for the whole build, so that no look-up sees a half-built table.
    QMutexLocker lock(&conversionTableMutex);
    destinationTables = camera::BuildPixelFormatDestinationTables(
        ApplicationGlobals::showAllPixelFormats, [transformation, gamma](uint32_t format) {
            return gamma->MapDestinationFormat(transformation->MapBayerPixelFormat(format));
        });
}

void VisionCamera::AdaptDestinationToTransformation()
{
    BuildConversionTables();
    const uint32_t source = pixelFormatSource;
    const uint32_t destination = pixelFormatDestination;
    // A raw destination follows the order the transformation gives the camera's raw order.
    if (camera::IsBayerPixelFormat(source) && camera::IsBayerPixelFormat(destination))
        SetPixelFormatDestination(iplTransformationFeatureProvider->MapBayerPixelFormat(
            destination, orna::ipl::PixelFormat::GetBayerPattern(source)));
}

void VisionCamera::SetPixelFormatDestination(uint32_t format)
{
    if (format == pixelFormatDestination)
        return;
    {
        QMutexLocker lock(&destinationMutex);
        pixelFormatDestinationName = camera::PixelFormatToName(format);
        pixelFormatDestination = format;
    }
    hasImage = false;
    iplColorCorrectionFeatureProvider->SetPixelFormat(format);
    iplEdgeEnhancementFeatureProvider->SetPixelFormat(format);
    iplGammaFeatureProvider->SetPixelFormat(format);
    iplColorCorrectionFeatureProvider->UpdateColorCorrectionFromCamera();
    emit Signal_PixelFormatDestinationChanged();
}

bool VisionCamera::IsConversionSupported(const std::string& sourceName, uint32_t destination) const
{
    QMutexLocker lock(&conversionTableMutex);
    return destinationTables.IsSupported(sourceName, destination, conversionMode);
}

uint32_t VisionCamera::GetDefaultDestination(const std::string& sourceName) const
{
    QMutexLocker lock(&conversionTableMutex);
    return destinationTables.DefaultDestination(sourceName, conversionMode);
}

std::vector<uint32_t> VisionCamera::GetAllowedPixelFormatDestinations() const
{
    const std::string sourceName = GetPixelFormatSourceName();
    QMutexLocker lock(&conversionTableMutex);
    return destinationTables.Destinations(sourceName, conversionMode);
}

std::string VisionCamera::GetPixelFormatSourceName() const
{
    return camera::PixelFormatToName(pixelFormatSource);
}

std::string VisionCamera::GetPixelFormatDestinationName() const
{
    QMutexLocker lock(&destinationMutex);
    return pixelFormatDestinationName;
}

bool VisionCamera::IsPackedPixelFormat(const std::string& name)
{
    const uint32_t format = camera::PixelFormatFromName(name);
    return format != 0 && orna::ipl::PixelFormat::IsKnown(format) && orna::ipl::PixelFormat::IsPacked(format);
}

bool VisionCamera::ComputeImageSizeDestination(int64_t offsetX, int64_t offsetY, int64_t width, int64_t height,
                                               double widthFactor, const SizeMapping& binning,
                                               const SizeMapping& decimation, ImageSizeDestination& out)
{
    if (width < 1 || height < 1)
        return false;
    if (widthFactor > 0.0 && widthFactor != 1.0)
        width = int64_t(double(width) * widthFactor);
    // A stage that fails to tell its size leaves the size it was given.
    for (const SizeMapping* mapping : {&binning, &decimation})
    {
        if (!*mapping)
            continue;
        int64_t mappedWidth = width, mappedHeight = height;
        if ((*mapping)(mappedWidth, mappedHeight))
        {
            width = mappedWidth;
            height = mappedHeight;
        }
    }
    out.width = width;
    out.height = height;
    out.offsetX = offsetX;
    out.offsetY = offsetY;
    out.tooSmall = width < 2 || height < 1;
    return true;
}

bool VisionCamera::UpdateImageSizeDestination()
{
    int64_t offsetX = 0, offsetY = 0, width = 0, height = 0;
    if (!GetIntegerValue("OffsetX", ReadValueType::Value, offsetX) ||
        !GetIntegerValue("OffsetY", ReadValueType::Value, offsetY) ||
        !GetIntegerValue("Width", ReadValueType::Value, width) ||
        !GetIntegerValue("Height", ReadValueType::Value, height))
        return false;
    auto stage = [](FeatureProviderBase* provider, auto* sized) -> SizeMapping {
        if (!provider->IsActive())
            return {};
        return [sized](int64_t& w, int64_t& h) {
            try
            {
                sized->GetOutputSize(w, h, &w, &h);
                return true;
            }
            catch (const std::exception&)
            {
                return false;
            }
        };
    };
    ImageSizeDestination size;
    if (!ComputeImageSizeDestination(offsetX, offsetY, width, height, widthFactor,
                                     stage(iplBinningFeatureProvider, iplBinningFeatureProvider),
                                     stage(iplDecimationFeatureProvider, iplDecimationFeatureProvider), size))
        return false;
    {
        QMutexLocker lock(&destinationMutex);
        imageSizeDestination = size;
    }
    PassImageSizeDestinationOn();
    if (size.tooSmall)
        emit Signal_IplDecimationAndBinningLeadsToImageSizeSmallerThanMinimum();
    return true;
}

void VisionCamera::PassImageSizeDestinationOn()
{
    const ImageSizeDestination size = GetImageSizeDestination();
    // Sharpness and auto features measure the images after mirror and rotation, in their coordinates.
    const bool transposed = iplTransformationFeatureProvider->IsTransposed();
    const int64_t seenWidth = transposed ? size.height : size.width;
    const int64_t seenHeight = transposed ? size.width : size.height;
    iplSharpnessFeatureProvider->SetImageSize(seenWidth, seenHeight);
    iplHotpixelFeatureProvider->SetImageSize(size.width, size.height);
    if (aflManager->IsActive())
        aflManager->SetImageSize(seenWidth, seenHeight);
}

VisionCamera::ImageSizeDestination VisionCamera::GetImageSizeDestination() const
{
    QMutexLocker lock(&destinationMutex);
    return imageSizeDestination;
}

void VisionCamera::SetConversionMode(int mode)
{
    if (!converter || mode < 1 || mode > 3)
        return;
    Guarded(keyText, "void VisionCamera::SetConversionMode(int)", [&] {
        converter->SetConversionMode(mode);
        conversionMode = mode;
        return true;
    });
}

bool VisionCamera::SetPixelFormatSourceOverString(const std::string& name)
{
    if (!SetEnumerationEntry("PixelFormat", name))
        return false;
    const bool updated = UpdatePixelFormatSource();
    const bool geometry = QueryImageGeometry();
    iplColorCorrectionFeatureProvider->UpdateColorCorrectionFromCamera();
    return updated && geometry;
}

// ---- Stream and link information

bool VisionCamera::GetDataStreamCounterInfos(int& incomplete, int& dropped, int& lost)
{
    return Guarded(keyText, "bool VisionCamera::GetDataStreamCounterInfos(int &, int &, int &)", [&] {
        auto a = UsableNode<IntegerNode>(dataStreamNodeMap, "StreamIncompleteFrameCount", false);
        auto b = UsableNode<IntegerNode>(dataStreamNodeMap, "StreamDroppedFrameCount", false);
        auto c = UsableNode<IntegerNode>(dataStreamNodeMap, "StreamLostFrameCount", false);
        if (!a || !b || !c)
            return false;
        incomplete = int(a->GetValue(false));
        dropped = int(b->GetValue(false));
        lost = int(c->GetValue(false));
        return true;
    });
}

bool VisionCamera::GetDeviceLinkSpeed_bytes_per_second(int64_t& speed)
{
    return GetIntegerValue("DeviceLinkSpeed", ReadValueType::Value, speed);
}

// One stage's gain as an amplification factor. Gain nodes give decibels (0 dB is a factor of 1, not 0); a
// node whose unit says it is already a factor ("x", "times") is taken as it is.
static double GainFactor(double value, const std::string& unit)
{
    std::string u;
    for (char c : unit)
        if (c != ' ')
            u.push_back(char(std::tolower(static_cast<unsigned char>(c))));
    if (u == "x" || u == "times" || u == "factor")
        return value;
    return std::pow(10.0, value / 20.0);
}

double VisionCamera::GetTotalGain() const
{
    double total = 1.0;
    Guarded(keyText, "double VisionCamera::GetTotalGain() const", [&] {
        if (!HasNodes(remoteDeviceNodeMap, "Gain", "GainSelector"))
            return false;
        for (const char* entry : {"AnalogAll", "DigitalAll", "All"})
        {
            auto selector = UsableNode<EnumerationNode>(remoteDeviceNodeMap, "GainSelector", false);
            if (!selector || !AvailableEntry(*selector, entry))
                continue;
            SelectorScope scope(remoteDeviceNodeMap, "GainSelector", entry, true, keyText,
                                "double VisionCamera::GetTotalGain() const");
            if (!scope.Ok())
                continue;
            auto gain = UsableNode<FloatNode>(remoteDeviceNodeMap, "Gain", false);
            if (gain)
                total *= GainFactor(gain->GetValue(false), gain->GetUnit());
        }
        return true;
    });
    return total;
}
