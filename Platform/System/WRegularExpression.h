#pragma once

#include "WPlatform.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A regular expression on UTF-8 text, matched in time proportional to the text by a library of the system (RE2, with its
/// syntax; a group may also be named `(?<name>...)`). On Windows there is no such library, and none can be made.
/// Threads: any, also several at a time.
class KORVALE_IMAGING_API WRegularExpression
{
public:
    /// Throws std::invalid_argument, with the reason in UTF-8, if the expression is not valid.
    explicit WRegularExpression( const std::string& inExpression );
    ~WRegularExpression();
    WRegularExpression( const WRegularExpression& ) = delete;
    WRegularExpression& operator=( const WRegularExpression& ) = delete;

    /// The names of the named groups, in the order of the groups.
    const std::vector<std::string>& GetGroupNames() const { return itsGroupNames; }

    /// The texts of a match; a group that has no part in it is missing.
    using Groups = std::vector<std::optional<std::string>>;

    /// The named groups of the first match in the text, if there is one.
    std::optional<Groups> Search( std::string_view inText ) const;

private:
    class Implementation;
    std::unique_ptr<Implementation> itsImplementation;
    std::vector<std::string> itsGroupNames;
};
