#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"
#include "Pivot/Columns/XPivotColumnID.h"

/// What identifies a column: the quantity it holds, the channel it was measured in, and its units. A plain
/// value.
///
/// Threads: as a string.
/// Errors: reading throws 1005, 1015 and what the stream throws.
class KORVALE_API XPivotColumnDescriptor : public XStorable
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotColumnDescriptor ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion(); }

    /// The null descriptor.
    XPivotColumnDescriptor() = default;
    /// Takes the texts as they are given, also a name beside a standard ID.
    XPivotColumnDescriptor(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits );

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotColumnDescriptor* Clone() const override { return new XPivotColumnDescriptor( *this ); }
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    /// True when it names no column.
    bool IsNull() const { return itsID == kPivotNone; }

    XPivotColumnID GetID() const { return itsID; }
    void SetID( XPivotColumnID inID ) { itsID = inID; }
    const XString& GetColumnName() const { return itsColumnName; }
    void SetColumnName( const XString& inName ) { itsColumnName = inName; }
    const XString& GetChannelName() const { return itsChannelName; }
    void SetChannelName( const XString& inName ) { itsChannelName = inName; }
    const XString& GetUnits() const { return itsUnits; }
    void SetUnits( const XString& inUnits ) { itsUnits = inUnits; }

    /// The text that heads the column: name, units and channel, "Volume (µm³) (C1)" in Windows-1252 whatever
    /// the system's code page is; `WCodePage::Windows1252ToUTF8` converts it. With
    /// `inTwoLines` the channel stands on a line of its own after CR LF. A standard ID shows its registered
    /// name, an ID that is not registered the stored one.
    XString GetDisplayName( bool inTwoLines = false ) const;

    /// True when a column that one describes is found by the other: the name counts for user-defined columns
    /// only, a standard quantity is known by its ID, channel and units.
    bool IsOfSameColumn( const XPivotColumnDescriptor& inOther ) const;

    /// Equal to the byte in every field.
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
