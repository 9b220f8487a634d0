// Value types and numbering of the device library's object layer.
//
// The numbers are part of the contract: callers store and compare them (access status 5 = "opened by us",
// node access 4 = read and write, event type 1000 = connection event).
#pragma once

#include <cstdint>

namespace orna::core {

// GenTL access flags, the argument of OpenDevice/GetIsOpenable.
enum class DeviceAccessType : int32_t
{
    None = 1,
    ReadOnly = 2,
    Control = 3,
    Exclusive = 4,
};

// GenTL access status of a device as a descriptor reports it.
enum class DeviceAccessStatus : int32_t
{
    Unknown = 0,
    ReadWrite = 1,
    ReadOnly = 2,
    NoAccess = 3,
    Busy = 4,
    OpenReadWrite = 5,
    OpenReadOnly = 6,
    Custom = 1000,
};

// Event types of EnableEvents. ConnectionEvent (type 1000) carries the state in its first payload byte.
enum class EventType : int32_t
{
    Error = 0,
    FeatureInvalidate = 2,
    FeatureChange = 3,
    RemoteDevice = 4,
    Module = 5,
    ConnectionEvent = 1000,
};

// First payload byte of a connection event.
enum class ConnectionState : uint8_t
{
    Connected = 0,
    Disconnected = 1,
};

enum class AcquisitionStartMode : int32_t
{
    Default = 0,
};

enum class AcquisitionStopMode : int32_t
{
    Default = 0,
    Kill = 1,
};

// GenTL flush operations of DataStream::Flush.
enum class FlushMode : int32_t
{
    OutputDiscard = 0,
    AllToInput = 1,
    UnqueuedToInput = 2,
    DiscardAll = 4,
};

// Info commands of Buffer::GetInfo.
enum class BufferInfoCommand : int32_t
{
    LeaderStatus = 1000,
    TrailerStatus = 1001,
};

// GenTL INFO_DATATYPE numbers; GetInfo results for leader/trailer status are Int32 (4).
enum class InfoDataType : int32_t
{
    Unknown = 0,
    String = 1,
    StringList = 2,
    Int16 = 3,
    Int32 = 4,
    Int64 = 5,
    Buffer = 12,
};

namespace nodes {

enum class NodeType : int32_t
{
    Unknown = 0,
    Integer = 1,
    Float = 2,
    Boolean = 3,
    String = 4,
    Command = 5,
    Register = 6,
    Category = 7,
    Enumeration = 8,
    EnumerationEntry = 9,
    Port = 10,
};

// 0 not implemented, 1 not available, 2 write only, 3 read only, 4 read and write.
enum class NodeAccessStatus : int32_t
{
    NotImplemented = 0,
    NotAvailable = 1,
    WriteOnly = 2,
    ReadOnly = 3,
    ReadWrite = 4,
};

enum class NodeVisibility : int32_t
{
    Beginner = 0,
    Expert = 1,
    Guru = 2,
    Invisible = 3,
};

enum class IncrementType : int32_t
{
    NoIncrement = 0,
    FixedIncrement = 1,
    ListIncrement = 2,
};

enum class IntegerRepresentation : int32_t
{
    Linear = 0,
    Logarithmic = 1,
    Boolean = 2,
    PureNumber = 3,
    HexNumber = 4,
    IPV4Address = 5,
    MACAddress = 6,
    Undefined = 7,
};

} // namespace nodes
} // namespace orna::core
