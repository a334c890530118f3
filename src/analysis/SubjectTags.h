#pragma once

#include <QString>

namespace velmora {

// The subject with the score tag "{S:<score>%} " in front; the score is
// rounded half to even. An old score tag is replaced by dropping the subject's
// first nine characters, whatever the old tag's length: intended, "{S:100%} "
// goes exactly, "{S:87%} " takes the next character with it. A subject that
// starts with "{S:" but is shorter than nine characters cannot be re-tagged
// (VbError).
QString withScoreTag(const QString& subject, float score);

// The subject with the restricted tag "{RESTR} " in front; an old one is
// rewritten in place.
QString withRestrictedTag(const QString& subject);

} // namespace velmora
