#include "camera/cameracapabilities.h"

#include "orna/core/exception.h"
#include "orna/core/nodemap.h"
#include "orna/core/port.h"

#include <algorithm>
#include <mutex>

namespace camera {

using namespace orna::core;

namespace {

constexpr uint64_t kFileCommandTimeoutMs = 2000;

bool Accessible(nodes::NodeAccessStatus access)
{
    return access != nodes::NodeAccessStatus::NotImplemented && access != nodes::NodeAccessStatus::NotAvailable;
}

// One file operation under the current selectors: execute, then check the status. A status other than
// "Success" becomes the error text.
bool RunFileOperation(const std::shared_ptr<NodeMap>& map, std::string& error)
{
    ExecuteAndWait(map, "FileOperationExecute", kFileCommandTimeoutMs);
    const std::string status = map->FindNode("FileOperationStatus")->GetValueAsString();
    if (status != "Success")
    {
        error = status;
        return false;
    }
    return true;
}

void SelectFileOperation(const std::shared_ptr<NodeMap>& map, const char* operation)
{
    map->FindNode<nodes::EnumerationNode>("FileOperationSelector")->SetCurrentEntryBySymbolicValue(operation);
}

// Opens fileName in mode; on success the caller must close it, whatever happens next.
bool OpenCameraFile(const std::shared_ptr<NodeMap>& map, const std::string& fileName, const char* mode,
                    std::string& error)
{
    map->FindNode<nodes::EnumerationNode>("FileSelector")->SetCurrentEntryBySymbolicValue(fileName);
    SelectFileOperation(map, "Open");
    map->FindNode<nodes::EnumerationNode>("FileOpenMode")->SetCurrentEntryBySymbolicValue(mode);
    if (!RunFileOperation(map, error))
    {
        error = "Opening " + fileName + " failed: " + error;
        return false;
    }
    return true;
}

// Closes the selected file; a failure is added to error and reported, never thrown.
bool CloseCameraFile(const std::shared_ptr<NodeMap>& map, const std::string& fileName, std::string& error)
{
    try
    {
        SelectFileOperation(map, "Close");
        std::string closeError;
        if (RunFileOperation(map, closeError))
            return true;
        error += (error.empty() ? "" : "; ") + std::string("Closing ") + fileName + " failed: " + closeError;
    }
    catch (const std::exception& e)
    {
        error += (error.empty() ? "" : "; ") + std::string("Closing ") + fileName + " failed: " + e.what();
    }
    return false;
}

} // namespace

bool IsNodeAccessible(const std::shared_ptr<NodeMap>& map, const std::string& name)
{
    try
    {
        return map && map->GetHasNode(name) && Accessible(map->FindNode(name)->GetAccessStatus());
    }
    catch (const std::exception&)
    {
        return false;
    }
}

bool IsNodeWritable(const std::shared_ptr<NodeMap>& map, const std::string& name)
{
    try
    {
        return map && map->GetHasNode(name) && map->FindNode(name)->GetIsWritable();
    }
    catch (const std::exception&)
    {
        return false;
    }
}

bool HasEnumerationEntry(const std::shared_ptr<NodeMap>& map, const std::string& enumeration, const std::string& entry,
                         bool requireAccessible)
{
    try
    {
        if (!map || !map->GetHasNode(enumeration))
            return false;
        auto node = map->FindNode<nodes::EnumerationNode>(enumeration);
        for (const auto& candidate : node->GetEntries())
        {
            if (candidate->GetSymbolicValue() == entry)
                return !requireAccessible || Accessible(candidate->GetAccessStatus());
        }
    }
    catch (const std::exception&)
    {
    }
    return false;
}

std::vector<std::string> AccessibleEntries(const std::shared_ptr<NodeMap>& map, const std::string& enumeration)
{
    RequireNotNull(map, "The given node map is a nullptr!");
    std::vector<std::string> names;
    for (const auto& entry : map->FindNode<nodes::EnumerationNode>(enumeration)->GetEntries())
    {
        RequireNotNull(entry, "The given entry is a nullptr!");
        if (Accessible(entry->GetAccessStatus()))
            names.push_back(entry->GetSymbolicValue());
    }
    return names;
}

bool IsColorPixelFormatName(const std::string& symbolic)
{
    for (const char* family : {"Bayer", "RGB", "BGR"})
    {
        if (symbolic.compare(0, std::char_traits<char>::length(family), family) == 0)
            return true;
    }
    return false;
}

void ExecuteAndWait(const std::shared_ptr<NodeMap>& map, const std::string& name, uint64_t timeoutMs)
{
    RequireNotNull(map, "The given node map is a nullptr!");
    auto command = map->FindNode<nodes::CommandNode>(name);
    command->Execute();
    command->WaitUntilDone(timeoutMs);
}

void SaveAndResetTriggerModes(const std::shared_ptr<NodeMap>& map, std::vector<SavedTriggerMode>& saved)
{
    if (!map || !map->GetHasNode("TriggerSelector") || !map->GetHasNode("TriggerMode"))
        return;
    saved.clear();
    std::lock_guard<NodeMap> lock(*map);
    auto selector = map->FindNode<nodes::EnumerationNode>("TriggerSelector");
    auto mode = map->FindNode<nodes::EnumerationNode>("TriggerMode");
    const std::string selectedBefore = selector->GetValueAsString();
    for (const auto& entry : selector->GetEntries())
    {
        RequireNotNull(entry, "The given entry is a nullptr!");
        if (!Accessible(entry->GetAccessStatus()))
            continue;
        selector->SetCurrentEntry(entry);
        const std::string value = mode->GetValueAsString();
        saved.push_back({entry->GetSymbolicValue(), value});
        if (value == "On")
            mode->SetCurrentEntryBySymbolicValue("Off");
    }
    selector->SetCurrentEntryBySymbolicValue(selectedBefore);
}

bool RestoreTriggerModes(const std::shared_ptr<NodeMap>& map, std::vector<SavedTriggerMode>& saved, std::string& error)
{
    error.clear();
    if (saved.empty())
        return true;
    bool ok = true;
    try
    {
        RequireNotNull(map, "The given node map is a nullptr!");
        std::lock_guard<NodeMap> lock(*map);
        auto selector = map->FindNode<nodes::EnumerationNode>("TriggerSelector");
        auto mode = map->FindNode<nodes::EnumerationNode>("TriggerMode");
        const std::string selectedBefore = selector->GetValueAsString();
        for (const auto& row : saved)
        {
            try
            {
                selector->SetCurrentEntryBySymbolicValue(row.selector);
                mode->SetCurrentEntryBySymbolicValue(row.mode);
            }
            catch (const std::exception& e)
            {
                ok = false;
                error += (error.empty() ? "" : "; ") + row.selector + ": " + e.what();
            }
        }
        selector->SetCurrentEntryBySymbolicValue(selectedBefore);
    }
    catch (const std::exception& e)
    {
        ok = false;
        error += (error.empty() ? "" : "; ") + std::string(e.what());
    }
    saved.clear();
    return ok;
}

bool ReadCameraFile(const std::shared_ptr<NodeMap>& map, const std::string& fileName, std::vector<uint8_t>& content,
                    std::string& error, int64_t& bytesDone, const FileProgress& progress)
{
    content.clear();
    error.clear();
    bytesDone = 0;
    try
    {
        RequireNotNull(map, "The given node map is a nullptr!");
        std::lock_guard<NodeMap> lock(*map);
        if (!OpenCameraFile(map, fileName, "Read", error))
            return false;
        bool ok = true;
        try
        {
            auto length = map->FindNode<nodes::IntegerNode>("FileAccessLength");
            auto offset = map->FindNode<nodes::IntegerNode>("FileAccessOffset");
            auto buffer = map->FindNode<nodes::RegisterNode>("FileAccessBuffer");
            const int64_t block = std::min<int64_t>(length->GetMaximum(), buffer->GetLength());
            if (block <= 0)
                Raise(ReturnCode::Error, "FileAccessLength allows no bytes");
            SelectFileOperation(map, "Read");
            while (true)
            {
                length->SetValue(block);
                offset->SetValue(bytesDone);
                if (!RunFileOperation(map, error))
                {
                    ok = false;
                    break;
                }
                const int64_t done = map->FindNode<nodes::IntegerNode>("FileOperationResult")->GetValue();
                if (done <= 0)
                    break;
                const auto bytes = buffer->Read();
                const int64_t take = std::min<int64_t>(done, int64_t(bytes.size()));
                content.insert(content.end(), bytes.begin(), bytes.begin() + take);
                bytesDone += take;
                if (progress)
                    progress(bytesDone, 0);
                if (take < block)
                    break;
            }
        }
        catch (const std::exception& e)
        {
            ok = false;
            error = e.what();
        }
        return CloseCameraFile(map, fileName, error) && ok;
    }
    catch (const std::exception& e)
    {
        error = e.what();
        return false;
    }
}

bool WriteCameraFile(const std::shared_ptr<NodeMap>& map, const std::string& fileName,
                     const std::vector<uint8_t>& content, std::string& error, int64_t& bytesDone,
                     const FileProgress& progress)
{
    error.clear();
    bytesDone = 0;
    const int64_t total = int64_t(content.size());
    try
    {
        RequireNotNull(map, "The given node map is a nullptr!");
        std::lock_guard<NodeMap> lock(*map);
        if (!OpenCameraFile(map, fileName, "Write", error))
            return false;
        bool ok = true;
        try
        {
            auto length = map->FindNode<nodes::IntegerNode>("FileAccessLength");
            auto offset = map->FindNode<nodes::IntegerNode>("FileAccessOffset");
            auto buffer = map->FindNode<nodes::RegisterNode>("FileAccessBuffer");
            const int64_t bufferLength = buffer->GetLength();
            const int64_t block = std::min<int64_t>(length->GetMaximum(), bufferLength);
            if (block <= 0)
                Raise(ReturnCode::Error, "FileAccessLength allows no bytes");
            SelectFileOperation(map, "Write");
            std::vector<uint8_t> chunk(static_cast<size_t>(bufferLength));
            while (bytesDone < total)
            {
                const int64_t n = std::min<int64_t>(block, total - bytesDone);
                std::fill(chunk.begin(), chunk.end(), 0);
                std::copy_n(content.begin() + bytesDone, n, chunk.begin());
                buffer->Write(chunk);
                length->SetValue(n);
                offset->SetValue(bytesDone);
                if (!RunFileOperation(map, error))
                {
                    ok = false;
                    break;
                }
                const int64_t done = map->FindNode<nodes::IntegerNode>("FileOperationResult")->GetValue();
                if (done <= 0)
                {
                    ok = false;
                    error = "The camera took no bytes at offset " + std::to_string(bytesDone);
                    break;
                }
                bytesDone += std::min(done, n);
                if (progress)
                    progress(bytesDone, total);
            }
        }
        catch (const std::exception& e)
        {
            ok = false;
            error = e.what();
        }
        return CloseCameraFile(map, fileName, error) && ok;
    }
    catch (const std::exception& e)
    {
        error = e.what();
        return false;
    }
}

bool DeleteCameraFile(const std::shared_ptr<NodeMap>& map, const std::string& fileName, std::string& error)
{
    error.clear();
    try
    {
        RequireNotNull(map, "The given node map is a nullptr!");
        std::lock_guard<NodeMap> lock(*map);
        map->FindNode<nodes::EnumerationNode>("FileSelector")->SetCurrentEntryBySymbolicValue(fileName);
        SelectFileOperation(map, "Delete");
        if (!RunFileOperation(map, error))
        {
            error = "Deleting " + fileName + " failed: " + error;
            return false;
        }
        return true;
    }
    catch (const std::exception& e)
    {
        error = e.what();
        return false;
    }
}

void ReadXmlThroughPort(const std::shared_ptr<Port>& port, std::string& fileName, std::vector<uint8_t>& content)
{
    RequireNotNull(port, "The given port is a nullptr!");
    content.clear();
    fileName = "unknown";
    if (port->GetNumURLs() == 0)
        return;
    auto url = port->GetURL(0);
    RequireNotNull(url, "The given URL is a nullptr!");
    if (url->GetFileSize() == 0 || url->GetFileRegisterAddress() == 0)
        return;
    fileName = url->GetFileName();
    content = port->Read(url->GetFileRegisterAddress(), static_cast<size_t>(url->GetFileSize()));
}

} // namespace camera
