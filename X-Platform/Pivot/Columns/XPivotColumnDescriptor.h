#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"
#include "Pivot/Columns/XPivotColumnID.h"

/// Identifies a column: the quantity it holds, the channel it was measured in, and its units. A plain value.
///
/// Threads: as a string.
/// Errors: reading throws 1005, 1015 and the errors of the stream.
class KORVALE_API XPivotColumnDescriptor : public XStorable
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotColumnDescriptor ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion(); }

    /// The null descriptor.
    XPivotColumnDescriptor() = default;
    /// Stores the texts unchanged, including a name given with a standard ID.
    XPivotColumnDescriptor(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits );

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotColumnDescriptor* Clone() const override { return new XPivotColumnDescriptor( *this ); }
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// True if the descriptor identifies no column.
    bool IsNull() const { return itsID == kPivotNone; }

    XPivotColumnID GetID() const { return itsID; }
    void SetID( XPivotColumnID inID ) { itsID = inID; }
    const XString& GetColumnName() const { return itsColumnName; }
    void SetColumnName( const XString& inName ) { itsColumnName = inName; }
    const XString& GetChannelName() const { return itsChannelName; }
    void SetChannelName( const XString& inName ) { itsChannelName = inName; }
    const XString& GetUnits() const { return itsUnits; }
    void SetUnits( const XString& inUnits ) { itsUnits = inUnits; }

    /// The heading of the column: name, units and channel, such as "Volume (µm³) (C1)", in Windows-1252
    /// regardless of the system's code page; `WCodePage::Windows1252ToUTF8` converts it. With `inTwoLines`
    /// the channel is on a second line, after CR LF. A standard ID shows its registered name, an unregistered
    /// ID the stored one.
    XString GetDisplayName( bool inTwoLines = false ) const;

    /// True if both descriptors identify the same column. The name is compared for user-defined columns only:
    /// a standard quantity is identified by its ID, channel and units.
    bool IsOfSameColumn( const XPivotColumnDescriptor& inOther ) const;

    /// True if all fields are equal; texts are compared byte by byte.
    bool operator==( const XPivotColumnDescriptor& inOther ) const;
    /// By ID, then name, channel and units in the natural order of strings.
    bool operator<( const XPivotColumnDescriptor& inOther ) const;
    /// Neither equal nor less.
    bool operator>( const XPivotColumnDescriptor& inOther ) const
    {
        return !( *this == inOther ) && !( *this < inOther );
    }

private:
    XPivotColumnID itsID = kPivotNone;
    XString itsColumnName;
    XString itsChannelName;
    XString itsUnits;
};
