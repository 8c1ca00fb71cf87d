#pragma once

/// The paths of the parts of a document.
namespace zam {

inline constexpr const char16_t* RootPath = u"KESTRANE_ZAM";
inline constexpr const char16_t* DocumentInfoPath = u"KESTRANE_ZAM/DocumentInfo";
inline constexpr const char16_t* PatientInfoPath = u"KESTRANE_ZAM/PatientInfo";
inline constexpr const char16_t* OrderInfoPath = u"KESTRANE_ZAM/OrderInfo";
inline constexpr const char16_t* StudyInfoPath = u"KESTRANE_ZAM/StudyInfo";
inline constexpr const char16_t* ModificationsPath = u"KESTRANE_ZAM/Modifications";
inline constexpr const char* ModificationsName = "Modifications";

}  // namespace zam
