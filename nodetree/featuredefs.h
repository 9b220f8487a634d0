// The type and access numbers that the node tree and the feature layer share.
//
// Plain value types; any thread. The numbers are those of the device library (access status) and of the
// feature layer (type), and are stored and compared by callers, so they are part of the contract.
#pragma once

#include <QMetaType>

// The kind of a node: 0 integer, 1 boolean, 2 command, 3 float, 4 string, 5 register, 6 category, 7 enumeration.
enum class FeatureType : int
{
    Integer = 0,
    Boolean = 1,
    Command = 2,
    Float = 3,
    String = 4,
    Register = 5,
    Category = 6,
    Enumeration = 7,
    Unknown = 99,
};

// GenICam access of a feature; Unbound (-2) while nothing is behind it.
enum class FeatureAccess : int
{
    Unbound = -2,
    NotImplemented = 0,
    NotAvailable = 1,
    WriteOnly = 2,
    ReadOnly = 3,
    ReadWrite = 4,
};

inline bool IsReadableAccess(FeatureAccess access)
{
    return access == FeatureAccess::ReadOnly || access == FeatureAccess::ReadWrite;
}
inline bool IsWriteableAccess(FeatureAccess access)
{
    return access == FeatureAccess::WriteOnly || access == FeatureAccess::ReadWrite;
}
inline bool IsAccessibleAccess(FeatureAccess access)
{
    return access != FeatureAccess::NotImplemented && access != FeatureAccess::NotAvailable &&
           access != FeatureAccess::Unbound;
}

Q_DECLARE_METATYPE(FeatureType)
Q_DECLARE_METATYPE(FeatureAccess)
