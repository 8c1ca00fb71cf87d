#pragma once

namespace zam {

/// The fields of a person name, in the order in which they are stored and folded.
inline constexpr auto NameFields = [](auto& name, auto& fields) {
  fields.Text(u"Full", name.m_Full);
  fields.Text(u"Family", name.m_Family);
  fields.Text(u"Given", name.m_Given);
  fields.Text(u"Middle", name.m_Middle);
  fields.Text(u"Prefix", name.m_Prefix);
  fields.Text(u"Suffix", name.m_Suffix);
};

}  // namespace zam
