#pragma once

#include "Ground/XTypes.h"

/// The RC4 generator, on a state owned by the caller. Internal to XEncryption.
class XRC4Generator
{
public:
    XRC4Generator( std::uint8_t ( &ioPermutation )[256], std::uint8_t& ioI, std::uint8_t& ioJ )
        : itsPermutation( ioPermutation ), itsI( ioI ), itsJ( ioJ )
    {
    }

    /// XORs `inBytes` with the next bytes of the key stream. Input and output are identical or do not
    /// overlap.
    void Mix( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength );

private:
    void MixBytes( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength );
    USize MixBlocks( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength );

    std::uint8_t ( &itsPermutation )[256];
    std::uint8_t& itsI;
    std::uint8_t& itsJ;
};
