#include "orna/core/detail/portdevice.h"

#include "orna/core/detail/xmlindex.h"
#include "orna/core/exception.h"

#include <cstring>

namespace orna::core::detail {
namespace {

// Lives in the GObject instance; constructed in Init, destroyed in Finalize.
struct PortDeviceState
{
    std::shared_ptr<RegisterBank> bank;
    std::string xml;
    std::string engineXml; // what the node engine loaded, when it differs from xml
    ArvGc* genicam = nullptr;
};

} // namespace
} // namespace orna::core::detail

extern "C" {

typedef struct
{
    ArvDevice parent_instance;
    orna::core::detail::PortDeviceState* state;
} OrnaPortDevice;

typedef struct
{
    ArvDeviceClass parent_class;
} OrnaPortDeviceClass;

static GType orna_port_device_get_type(void);
G_DEFINE_TYPE(OrnaPortDevice, orna_port_device, ARV_TYPE_DEVICE)

static OrnaPortDevice* AsPortDevice(ArvDevice* device)
{
    return G_TYPE_CHECK_INSTANCE_CAST(device, orna_port_device_get_type(), OrnaPortDevice);
}

static void orna_port_device_init(OrnaPortDevice* self)
{
    self->state = new orna::core::detail::PortDeviceState();
}

static void orna_port_device_finalize(GObject* object)
{
    OrnaPortDevice* self = G_TYPE_CHECK_INSTANCE_CAST(object, orna_port_device_get_type(), OrnaPortDevice);
    if (self->state->genicam)
        g_object_unref(self->state->genicam);
    delete self->state;
    self->state = nullptr;
    G_OBJECT_CLASS(orna_port_device_parent_class)->finalize(object);
}

static const char* orna_port_device_get_genicam_xml(ArvDevice* device, size_t* size)
{
    OrnaPortDevice* self = AsPortDevice(device);
    if (size)
        *size = self->state->xml.size();
    return self->state->xml.c_str();
}

static ArvGc* orna_port_device_get_genicam(ArvDevice* device)
{
    return AsPortDevice(device)->state->genicam;
}

static void SetBankError(GError** error, orna::core::detail::RegisterBank::Status status, guint64 address)
{
    using Status = orna::core::detail::RegisterBank::Status;
    int code = ARV_DEVICE_ERROR_PROTOCOL_ERROR;
    if (status == Status::InvalidAddress)
        code = ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS;
    else if (status == Status::WriteProtected)
        code = ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT;
    g_set_error(error, ARV_DEVICE_ERROR, code, "%s",
                orna::core::detail::RegisterBank::StatusText(status, address).c_str());
}

static gboolean orna_port_device_read_memory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                                             GError** error)
{
    auto status = AsPortDevice(device)->state->bank->Read(address, buffer, size);
    if (status == orna::core::detail::RegisterBank::Status::Ok)
        return TRUE;
    SetBankError(error, status, address);
    return FALSE;
}

static gboolean orna_port_device_write_memory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                                              GError** error)
{
    auto status = AsPortDevice(device)->state->bank->Write(address, buffer, size);
    if (status == orna::core::detail::RegisterBank::Status::Ok)
        return TRUE;
    SetBankError(error, status, address);
    return FALSE;
}

static gboolean orna_port_device_read_register(ArvDevice* device, guint64 address, guint32* value, GError** error)
{
    uint8_t bytes[4] = {0, 0, 0, 0};
    if (!orna_port_device_read_memory(device, address, 4, bytes, error))
        return FALSE;
    *value = static_cast<guint32>(bytes[0]) | (static_cast<guint32>(bytes[1]) << 8) |
             (static_cast<guint32>(bytes[2]) << 16) | (static_cast<guint32>(bytes[3]) << 24);
    return TRUE;
}

static gboolean orna_port_device_write_register(ArvDevice* device, guint64 address, guint32 value, GError** error)
{
    uint8_t bytes[4] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                        static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
    return orna_port_device_write_memory(device, address, 4, bytes, error);
}

static void orna_port_device_class_init(OrnaPortDeviceClass* klass)
{
    GObjectClass* objectClass = G_OBJECT_CLASS(klass);
    ArvDeviceClass* deviceClass = ARV_DEVICE_CLASS(klass);
    objectClass->finalize = orna_port_device_finalize;
    deviceClass->get_genicam_xml = orna_port_device_get_genicam_xml;
    deviceClass->get_genicam = orna_port_device_get_genicam;
    deviceClass->read_memory = orna_port_device_read_memory;
    deviceClass->write_memory = orna_port_device_write_memory;
    deviceClass->read_register = orna_port_device_read_register;
    deviceClass->write_register = orna_port_device_write_register;
}

} // extern "C"

namespace orna::core::detail {

GObjectPtr<ArvDevice> CreatePortDevice(std::shared_ptr<RegisterBank> bank, const std::string& xml,
                                       const std::string& engineXml, bool checked)
{
    if (!bank)
        Raise(ReturnCode::InvalidArgument, "A port device needs a register bank");
    // The node engine reports malformed XML only through GLib criticals: refuse it before it gets there.
    if (!checked)
    {
        XmlIndex check;
        std::string error;
        if (!check.Parse(xml, error))
            Raise(ReturnCode::InvalidArgument, error);
    }
    auto device = GObjectPtr<ArvDevice>::Adopt(ARV_DEVICE(g_object_new(orna_port_device_get_type(), nullptr)));
    OrnaPortDevice* self = AsPortDevice(device.Get());
    self->state->bank = std::move(bank);
    self->state->xml = xml;
    self->state->engineXml = engineXml.empty() ? xml : engineXml;
    {
        std::lock_guard<std::mutex> parsing(AravisParseMutex());
        self->state->genicam = arv_gc_new(device.Get(), self->state->engineXml.data(), self->state->engineXml.size());
    }
    if (!self->state->genicam || !arv_gc_get_node(self->state->genicam, "Root"))
        Raise(ReturnCode::InvalidArgument, "The GenICam XML of a local node map could not be parsed");
    arv_gc_set_access_check_policy(self->state->genicam, ARV_ACCESS_CHECK_POLICY_ENABLE);
    arv_gc_set_range_check_policy(self->state->genicam, ARV_RANGE_CHECK_POLICY_ENABLE);
    return device;
}

std::mutex& AravisParseMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::shared_ptr<RegisterBank> PortDeviceBank(ArvDevice* device)
{
    if (!IsPortDevice(device))
        return nullptr;
    return AsPortDevice(device)->state->bank;
}

bool IsPortDevice(ArvDevice* device)
{
    return device && G_TYPE_CHECK_INSTANCE_TYPE(device, orna_port_device_get_type());
}

} // namespace orna::core::detail

#include "orna/core/detail/chunkwindows.h"
#include "orna/core/detail/localnodemap.h"
#include "orna/core/detail/nodemapimpl.h"

namespace orna::core::detail {

std::shared_ptr<NodeMap> CreateLocalNodeMap(std::shared_ptr<RegisterBank> bank, const std::string& xml)
{
    if (!bank)
        Raise(ReturnCode::InvalidArgument, "A port device needs a register bank");
    // One parse of ours per map: the index, whose tree the chunk rewrite edits; the node engine's own parse is
    // the only other one (a large description is opened on every camera open).
    XmlIndex index;
    std::string error;
    if (!index.Parse(xml, error, true))
        Raise(ReturnCode::InvalidArgument, error);
    auto windows = std::make_shared<ChunkWindows>();
    const std::string engineXml = ChunkWindows::Rewrite(xml, index, *windows);
    index.ReleaseDocument();
    if (!windows->Empty())
        windows->AddTo(*bank, windows);
    auto impl =
        NodeMapImpl::Create(CreatePortDevice(std::move(bank), xml, windows->Empty() ? "" : engineXml, true), &index);
    if (!windows->Empty())
        impl->chunkWindows = std::move(windows);
    return std::make_shared<NodeMap>(std::move(impl));
}

} // namespace orna::core::detail
