#include "orna/core/benchsupport/aravisbaseline.h"

#include <arv.h>

#include <chrono>

namespace orna::core::benchsupport {

double AravisFeatureWalkSeconds(const std::vector<std::pair<std::string, nodes::NodeType>>& features, int rounds)
{
    ArvInterface* iface = arv_fake_interface_get_instance();
    arv_interface_update_device_list(iface);
    if (arv_interface_get_n_devices(iface) == 0)
        return -1.0;
    GError* error = nullptr;
    ArvDevice* device = arv_interface_open_device(iface, arv_interface_get_device_id(iface, 0), &error);
    if (!device)
    {
        g_clear_error(&error);
        return -1.0;
    }
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < rounds; ++round)
    {
        for (const auto& feature : features)
        {
            const char* name = feature.first.c_str();
            switch (feature.second)
            {
            case nodes::NodeType::Integer:
                arv_device_get_integer_feature_value(device, name, &error);
                break;
            case nodes::NodeType::Float:
                arv_device_get_float_feature_value(device, name, &error);
                break;
            case nodes::NodeType::Boolean:
                arv_device_get_boolean_feature_value(device, name, &error);
                break;
            default:
                arv_device_get_string_feature_value(device, name, &error);
                break;
            }
            g_clear_error(&error);
        }
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    g_object_unref(device);
    return seconds;
}

double AravisParseSeconds(const std::string& xml)
{
    // Only the build is timed, as on our side: freeing the engine is not part of opening a description.
    const auto start = std::chrono::steady_clock::now();
    ArvGc* gc = arv_gc_new(nullptr, xml.data(), xml.size());
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const bool parsed = gc && arv_gc_get_node(gc, "Root");
    if (gc)
        g_object_unref(gc);
    return parsed ? seconds : -1.0;
}

} // namespace orna::core::benchsupport
