#pragma once

#include <string_view>

/// The files of the status page, which lie in StatusPage/Files/ and are embedded when the program is built.
class PageFiles
{
public:
    static const std::string_view kPage; ///< HTML; `<!--STATUS-->` stands for the sections
    static const std::string_view kStyle;
    static const std::string_view kScript;
};
