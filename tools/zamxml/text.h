#pragma once

#include <ZAMXMLData.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

/// Why a value from outside is not taken, with the place of the fault: bytes that are no UTF-8, or
/// a control character other than tab, line feed and carriage return. Empty when it is taken.
std::string WhyRefused(std::string_view value);

/// A file name as the library takes it; Failure when it is no UTF-8.
_bstr_t FileName(const std::string& name);

/// Takes a text apart, in order: what a reader sees, in UTF-8, and each character that shows
/// nothing or that nobody types: control characters, line breaks, what joins, turns or fills, odd
/// spaces.
void SplitUnseen(std::u16string_view text, const std::function<void(const std::string&)>& seen,
                 const std::function<void(char32_t)>& unseen);

/// A value on one line of a terminal: characters that would not be seen appear as escapes, so that
/// nothing in a document can dress up as output or as another value.
std::string Printable(const _bstr_t& value);
/// How many columns of a terminal it takes.
std::size_t WidthOf(std::string_view printable);
/// The same in quotation marks.
std::string Quoted(const _bstr_t& value);

/// What a log says about why the last step failed, in one line without a full stop and without the
/// path of the file in front. The system's own reason comes before what it led to.
std::string Reason(const ZAMLog& log, const std::string& path);

/// "1,204"
std::string Grouped(std::size_t number);
/// "1,204 documents", "1 document"
std::string Counted(std::size_t number, const char* noun);
