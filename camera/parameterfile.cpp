#include "camera/parameterfile.h"

#include "orna/core/exception.h"
#include "orna/core/nodemap.h"

#include <QDir>
#include <QTemporaryFile>

#include <fstream>

namespace camera {

namespace {

const std::string kHeaderStart = "# orna::core persistence file";
const std::string kDeviceStart = "# Device = ";
const std::string kDeviceEnd = " -- node map settings";

std::string ReadText(const orna::core::NodeMap& map, const char* name)
{
    try
    {
        if (map.GetHasNode(name))
            return map.FindNode(name)->GetValueAsString();
    }
    catch (const orna::core::Exception&)
    {
    }
    return "unknown";
}

} // namespace

bool CheckParameterFile(const orna::core::NodeMap& map, const std::string& path, std::string& error)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        error = "The parameter file " + path + " cannot be read";
        return false;
    }
    std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (content.compare(0, kHeaderStart.size(), kHeaderStart) != 0)
    {
        error = path + " is not a parameter file";
        return false;
    }
    if (content.empty() || content.back() != '\n')
    {
        error = "The parameter file " + path + " is incomplete (it ends inside a line)";
        return false;
    }

    std::vector<std::string> lines;
    size_t start = 0;
    while (start < content.size())
    {
        const size_t end = content.find('\n', start);
        std::string line = content.substr(start, end - start);
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
        start = end + 1;
    }

    const std::string expectedDevice = ReadText(map, "DeviceVendorName") + "::" + ReadText(map, "DeviceModelName");
    bool sawDevice = false;
    bool sawEnd = false;
    size_t values = 0;
    for (size_t i = 1; i < lines.size(); ++i)
    {
        const std::string& line = lines[i];
        if (sawEnd)
        {
            if (!line.empty())
            {
                error = "The parameter file " + path + " has text after its end line";
                return false;
            }
            continue;
        }
        if (line == orna::core::kPersistenceEndLine)
        {
            sawEnd = true;
            continue;
        }
        if (line.empty())
            continue;
        if (line[0] == '#')
        {
            if (line.compare(0, kDeviceStart.size(), kDeviceStart) == 0)
            {
                std::string device = line.substr(kDeviceStart.size());
                if (device.size() >= kDeviceEnd.size() &&
                    device.compare(device.size() - kDeviceEnd.size(), kDeviceEnd.size(), kDeviceEnd) == 0)
                    device.resize(device.size() - kDeviceEnd.size());
                if (device != expectedDevice)
                {
                    error = "The parameter file " + path + " belongs to " + device + ", not to this camera (" +
                            expectedDevice + ")";
                    return false;
                }
                sawDevice = true;
            }
            continue;
        }
        const size_t tab = line.find('\t');
        if (tab == std::string::npos || tab == 0)
        {
            error = "The parameter file " + path + " has a malformed line " + std::to_string(i + 1);
            return false;
        }
        const std::string name = line.substr(0, tab);
        if (!map.GetHasNode(name))
        {
            error = "The parameter file " + path + " names " + name + ", which this camera does not have";
            return false;
        }
        ++values;
    }
    if (!sawDevice)
    {
        error = "The parameter file " + path + " does not name the camera it belongs to";
        return false;
    }
    if (!sawEnd)
    {
        error = "The parameter file " + path + " is incomplete (its end line is missing)";
        return false;
    }
    if (values == 0)
    {
        error = "The parameter file " + path + " holds no values";
        return false;
    }
    return true;
}

bool LoadParameterFile(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& path, std::string& error)
{
    if (!map)
    {
        error = "The camera has no node map";
        return false;
    }
    if (!CheckParameterFile(*map, path, error))
        return false;

    QTemporaryFile snapshotFile(QDir::tempPath() + QStringLiteral("/lumivue_parameters_XXXXXX.txt"));
    if (!snapshotFile.open())
    {
        error = "No temporary file for the current values: " + snapshotFile.errorString().toStdString();
        return false;
    }
    snapshotFile.close();
    const std::string snapshot = snapshotFile.fileName().toStdString();
    try
    {
        map->StoreToFile(snapshot);
    }
    catch (const std::exception& e)
    {
        error = std::string("The current values could not be kept, nothing was loaded: ") + e.what();
        return false;
    }

    try
    {
        map->LoadFromFile(path);
        return true;
    }
    catch (const std::exception& e)
    {
        error = e.what();
    }
    try
    {
        map->LoadFromFile(snapshot);
        error += " (the values from before were written back)";
    }
    catch (const std::exception& e)
    {
        error += std::string(" (writing back the values from before failed too: ") + e.what() + ")";
    }
    return false;
}

bool SaveParameterFile(const std::shared_ptr<orna::core::NodeMap>& map, const std::string& path, std::string& error)
{
    if (!map)
    {
        error = "The camera has no node map";
        return false;
    }
    try
    {
        map->StoreToFile(path);
        return true;
    }
    catch (const std::exception& e)
    {
        error = e.what();
        return false;
    }
}

} // namespace camera
