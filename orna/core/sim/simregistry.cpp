#include "orna/core/sim/simregistry.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace orna::core::sim {

namespace {

std::string Trim(const std::string& s)
{
    size_t b = 0, e = s.size();
    while (b < e && std::isspace(static_cast<unsigned char>(s[b])))
    {
        ++b;
    }
    while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1])))
    {
        --e;
    }
    return s.substr(b, e - b);
}

std::string Lower(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return s;
}

char ModelLetter(const std::string& model)
{
    if (model == "mono")
        return 'M';
    if (model == "locked")
        return 'L';
    if (model == "service")
        return 'S';
    if (model == "booterror")
        return 'B';
    if (model == "color12mp")
        return 'X';
    if (model == "slowlink")
        return 'U';
    if (model == "zipped")
        return 'Z';
    if (model == "dusk")
        return 'D';
    return 'C';
}

void AddError(std::string* error, const std::string& text)
{
    if (error == nullptr)
    {
        return;
    }
    if (!error->empty())
    {
        *error += "; ";
    }
    *error += text;
}

} // namespace

std::vector<SimCameraEntry> SimCameraRegistry::Parse(const std::string& input, std::string* error)
{
    std::vector<std::string> models;
    const std::string text = Trim(input);
    if (text.empty())
    {
        models.push_back("color");
    }
    else if (std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; }))
    {
        size_t count = text.size() > 3 ? kMaxSimCameras + 1 : size_t(std::strtoul(text.c_str(), nullptr, 10));
        if (count > kMaxSimCameras)
        {
            AddError(error, "at most " + std::to_string(kMaxSimCameras) + " simulated cameras; using " +
                                std::to_string(kMaxSimCameras));
            count = kMaxSimCameras;
        }
        for (size_t i = 0; i < count; ++i)
        {
            models.push_back(i % 2 == 0 ? "color" : "mono");
        }
    }
    else
    {
        const auto known = SimCameraConfig::ModelNames();
        size_t start = 0;
        while (start <= text.size())
        {
            size_t comma = text.find(',', start);
            if (comma == std::string::npos)
            {
                comma = text.size();
            }
            const std::string name = Lower(Trim(text.substr(start, comma - start)));
            start = comma + 1;
            if (name.empty())
            {
                continue;
            }
            if (std::find(known.begin(), known.end(), name) == known.end())
            {
                std::string list;
                for (const auto& k : known)
                {
                    list += (list.empty() ? "" : ", ") + k;
                }
                AddError(error, "unknown simulated camera model \"" + name + "\" (known: " + list + ")");
                continue;
            }
            if (models.size() == kMaxSimCameras)
            {
                AddError(error, "at most " + std::to_string(kMaxSimCameras) + " simulated cameras");
                break;
            }
            models.push_back(name);
        }
    }
    std::vector<SimCameraEntry> entries;
    std::map<std::string, int> perModel;
    for (const auto& m : models)
    {
        char serial[32];
        std::snprintf(serial, sizeof serial, "LVS%c%05d", ModelLetter(m), ++perModel[m]);
        entries.push_back({m, serial});
    }
    return entries;
}

SimCameraRegistry& SimCameraRegistry::Instance()
{
    static SimCameraRegistry* registry = [] {
        auto* r = new SimCameraRegistry(); // never destroyed: cameras may be used by late shutdown hooks
        const char* env = std::getenv(kSimCamerasEnvironmentVariable);
        r->Configure(env != nullptr ? env : "0"); // unset: no simulated camera
        return r;
    }();
    return *registry;
}

bool SimCameraRegistry::Configure(const std::string& text)
{
    std::string error;
    const auto entries = Parse(text, &error);
    std::vector<std::shared_ptr<SimCamera>> old;
    std::vector<std::shared_ptr<SimCamera>> next;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        old = cameras_;
    }
    for (const auto& e : entries)
    {
        auto it = std::find_if(old.begin(), old.end(), [&](const std::shared_ptr<SimCamera>& c) {
            return c->SerialNumber() == e.serial && c->Config().model == e.model;
        });
        if (it != old.end())
        {
            next.push_back(*it);
            continue;
        }
        SimCameraConfig config;
        SimCameraConfig::ForModel(e.model, e.serial, &config);
        next.push_back(std::make_shared<SimCamera>(config));
    }
    std::lock_guard<std::mutex> lock(mutex_);
    cameras_ = std::move(next);
    error_ = error;
    return error.empty();
}

std::vector<std::shared_ptr<SimCamera>> SimCameraRegistry::Cameras() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return cameras_;
}

std::shared_ptr<SimCamera> SimCameraRegistry::Find(const std::string& serial) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& c : cameras_)
    {
        if (c->SerialNumber() == serial)
        {
            return c;
        }
    }
    return nullptr;
}

std::string SimCameraRegistry::LastError() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return error_;
}

} // namespace orna::core::sim
