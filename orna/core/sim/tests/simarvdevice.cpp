#include "simarvdevice.h"

#include <string>

namespace {

struct SimTestDevice
{
    ArvDevice parent;
    orna::core::sim::SimCamera* camera;
    ArvGc* genicam;
};
struct SimTestDeviceClass
{
    ArvDeviceClass parent_class;
};

GType sim_test_device_get_type();
G_DEFINE_TYPE(SimTestDevice, sim_test_device, ARV_TYPE_DEVICE)

SimTestDevice* Self(ArvDevice* d)
{
    return reinterpret_cast<SimTestDevice*>(d);
}

gboolean ReadMemory(ArvDevice* d, guint64 address, guint32 size, void* buffer, GError** error)
{
    if (Self(d)->camera->ReadMemory(address, buffer, size))
    {
        return TRUE;
    }
    g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR, "read error at 0x%llx",
                static_cast<unsigned long long>(address));
    return FALSE;
}
gboolean WriteMemory(ArvDevice* d, guint64 address, guint32 size, void* buffer, GError** error)
{
    if (Self(d)->camera->WriteMemory(address, buffer, size))
    {
        return TRUE;
    }
    g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR, "write error at 0x%llx",
                static_cast<unsigned long long>(address));
    return FALSE;
}
gboolean ReadRegister(ArvDevice* d, guint64 address, guint32* value, GError** error)
{
    return ReadMemory(d, address, 4, value, error);
}
gboolean WriteRegister(ArvDevice* d, guint64 address, guint32 value, GError** error)
{
    return WriteMemory(d, address, 4, &value, error);
}
ArvGc* GetGenicam(ArvDevice* d)
{
    return Self(d)->genicam;
}
const char* GetXml(ArvDevice* d, size_t* size)
{
    const std::string& xml = Self(d)->camera->GenICamXml();
    *size = xml.size();
    return xml.c_str();
}

void sim_test_device_init(SimTestDevice* self)
{
    self->camera = nullptr;
    self->genicam = nullptr;
}
void Finalize(GObject* object)
{
    SimTestDevice* self = reinterpret_cast<SimTestDevice*>(object);
    g_clear_object(&self->genicam);
    G_OBJECT_CLASS(sim_test_device_parent_class)->finalize(object);
}
void sim_test_device_class_init(SimTestDeviceClass* klass)
{
    G_OBJECT_CLASS(klass)->finalize = Finalize;
    ArvDeviceClass* device = ARV_DEVICE_CLASS(klass);
    device->read_memory = ReadMemory;
    device->write_memory = WriteMemory;
    device->read_register = ReadRegister;
    device->write_register = WriteRegister;
    device->get_genicam = GetGenicam;
    device->get_genicam_xml = GetXml;
}

} // namespace

ArvDevice* SimTestDeviceNew(orna::core::sim::SimCamera* camera)
{
    auto* self = static_cast<SimTestDevice*>(g_object_new(sim_test_device_get_type(), nullptr));
    self->camera = camera;
    const std::string& xml = camera->GenICamXml();
    self->genicam = arv_gc_new(ARV_DEVICE(self), xml.c_str(), xml.size());
    return ARV_DEVICE(self);
}

ArvGc* SimTestDeviceGenicam(ArvDevice* device)
{
    return Self(device)->genicam;
}
