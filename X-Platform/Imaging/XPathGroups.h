#pragma once

#include "System/WRegularExpression.h"
#include "WPlatform.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Groups of images from their paths, such as wells and treatments: the named groups of a regular expression, for
/// example `(?<Well>[A-H]\d\d)_(?<Treatment>\w+)`.
/// Threads: any, also several at a time.
class KORVALE_IMAGING_API XPathGroups
{
public:
    /// Throws std::invalid_argument, with the reason in UTF-8, if the expression is not valid or names no group.
    explicit XPathGroups( const std::string& inExpression );

    const std::vector<std::string>& GetNames() const { return itsExpression.GetGroupNames(); }

    /// The text of each group, in UTF-8, missing for a group that has no part in the match. The expression is searched in
    /// the name of the file, and if it does not match there, in the name together with its folder, and so on with one
    /// folder more each time, up to the absolute path; folders are separated by slashes. Without a value if it matches
    /// nowhere.
    std::optional<WRegularExpression::Groups> Find( const std::filesystem::path& inPath ) const;

private:
    WRegularExpression itsExpression;
};
