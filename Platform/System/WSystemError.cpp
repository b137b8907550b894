#include "System/WSystemError.h"

#include <cerrno>

// Codes have their Windows values on every system, because logs and files store them. errno values without a
// counterpart are carried as kErrnoFlag | errno, which the system has no code for. The table is searched from
// the front in both directions, so where two values of errno share a code, the first one gets the text.

namespace
{

struct ErrnoCode
{
    std::errc number;
    std::uint32_t code;
};

/// If several values of errno share a code, the first one determines the text.
constexpr ErrnoCode kErrnoCodes[] = {
    { std::errc::no_such_file_or_directory, WSystemError::kFileNotFound },
    { std::errc::not_a_directory, WSystemError::kPathNotFound },
    { std::errc::too_many_files_open, 4 },
    { std::errc::permission_denied, WSystemError::kAccessDenied },
    { std::errc::operation_not_permitted, WSystemError::kAccessDenied },
    { std::errc::bad_file_descriptor, WSystemError::kInvalidHandle },
    { std::errc::not_enough_memory, WSystemError::kNotEnoughMemory },
    { std::errc::cross_device_link, 17 },
    { std::errc::read_only_file_system, 19 },
    { std::errc::no_such_device, 31 },
    { std::errc::text_file_busy, 32 },
    { std::errc::not_supported, 50 },
    { std::errc::file_exists, WSystemError::kFileExists },
    { std::errc::invalid_argument, WSystemError::kInvalidParameter },
    { std::errc::no_space_on_device, WSystemError::kDiskFull },
    { std::errc::function_not_supported, 120 },
    { std::errc::invalid_seek, WSystemError::kSeekOnDevice },
    { std::errc::directory_not_empty, 145 },
    { std::errc::device_or_resource_busy, 170 },
    { std::errc::executable_format_error, 193 },
    { std::errc::filename_too_long, 206 },
    { std::errc::file_too_large, WSystemError::kFileTooLarge },
    { std::errc::is_a_directory, WSystemError::kIsDirectory },
    { std::errc::value_too_large, 534 },
    { std::errc::bad_address, 998 },
    { std::errc::illegal_byte_sequence, 1113 },
    { std::errc::io_error, 1117 },
    { std::errc::resource_deadlock_would_occur, 1131 },
    { std::errc::too_many_links, 1142 },
    { std::errc::no_such_device_or_address, 1167 },
    { std::errc::operation_canceled, 1223 },
    { std::errc::too_many_files_open_in_system, WSystemError::kNoSystemResources },
    { std::errc::no_lock_available, WSystemError::kNoSystemResources },
    { std::errc::too_many_symbolic_link_levels, 1921 },
    { std::errc::interrupted, 10004 },
    { std::errc::resource_unavailable_try_again, 10035 },
    { std::errc::operation_would_block, 10035 },
    { std::errc::operation_in_progress, 10036 },
    { std::errc::connection_already_in_progress, 10037 },
    { std::errc::not_a_socket, 10038 },
    { std::errc::destination_address_required, 10039 },
    { std::errc::message_size, 10040 },
    { std::errc::wrong_protocol_type, 10041 },
    { std::errc::no_protocol_option, 10042 },
    { std::errc::protocol_not_supported, 10043 },
    { std::errc::address_family_not_supported, 10047 },
    { std::errc::address_in_use, 10048 },
    { std::errc::address_not_available, 10049 },
    { std::errc::network_down, 10050 },
    { std::errc::network_unreachable, 10051 },
    { std::errc::network_reset, 10052 },
    { std::errc::connection_aborted, 10053 },
    { std::errc::connection_reset, 10054 },
    { std::errc::broken_pipe, 10054 },
    { std::errc::no_buffer_space, 10055 },
    { std::errc::already_connected, 10056 },
    { std::errc::not_connected, 10057 },
    { std::errc::timed_out, 10060 },
    { std::errc::connection_refused, 10061 },
    { std::errc::host_unreachable, 10065 },
};

} // namespace

std::uint32_t WSystemError::FromErrno( int inErrno )
{
    if ( inErrno == 0 )
        return kNoError;
    for ( const auto& entry : kErrnoCodes )
        if ( static_cast<int>( entry.number ) == inErrno )
            return entry.code;
    return kErrnoFlag | static_cast<std::uint32_t>( inErrno );
}

int WSystemError::ToErrno( std::uint32_t inCode )
{
    for ( const auto& entry : kErrnoCodes )
        if ( entry.code == inCode )
            return static_cast<int>( entry.number );
    const bool hasErrno = inCode > kErrnoFlag && inCode - kErrnoFlag < 0x10000u;
    return hasErrno ? static_cast<int>( inCode - kErrnoFlag ) : 0;
}
