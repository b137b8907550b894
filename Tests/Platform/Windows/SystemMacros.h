#pragma once

#include "Korvale.h"
#include "WNoSystemMacros.h" // As in a program that has included <windows.h> last.

#include <gtest/gtest.h>

namespace
{
class Countable : public XRefCountable
{
};

struct Quantity : XPivotColumnDescriptor
{
    static XVersion GetClassVersion() { return XVersion( 40001, 0 ); }
    static XVersion GetSuperClassVersion() { return XPivotColumnDescriptor::GetClassVersion(); }
};

/// Calls every function that <windows.h> has a macro for; they have to be those that the library exports.
inline void UseNamesOfSystemMacros()
{
    const XProgress progress( 1, XProgress::kProgressSteps );
    EXPECT_EQ( progress.GetMessage(), XString() );
    XProgress::Yield();
    XThreadYield().Yield();
    EXPECT_TRUE( XRefPtr<Countable>( new Countable ).Get() );
    XClassRegistry::RegisterClass<Quantity>( "quantity" );
    EXPECT_TRUE(
        XClassRegistry::IsA( Quantity::GetClassVersion(), XPivotColumnDescriptor::GetClassVersion() ) );
    XClassRegistry::UnregisterClassA( Quantity::GetClassVersion() );
}
} // namespace
