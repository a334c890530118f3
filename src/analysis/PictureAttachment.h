#pragma once

#include "addin/host/MailItemView.h"
#include "analysis/FilterState.h"

namespace velmora {

// File lengths of picture attachments worth fingerprinting, in bytes.
inline constexpr qint64 kMinPictureBytes = 500;
inline constexpr qint64 kMaxPictureBytes = 500000;

// Checks whether the item's first attachment is a picture (by its file name's
// extension: jpeg, gif, jpg, png, bmp, tiff, tif, in any case) and, if so,
// saves it into the work root under its display name, unless a file of that
// name is there already (which is then used as it is). Sets
// state.picture.PictureAttachmentSaved and keeps the attachment in
// state.picture.attachment. Host failures throw VbError.
bool CheckPictureAttachment(FilterState& state, MailItemView& item);

// Where the check saved the current attachment: work root + display name.
QString savedPicturePath(const FilterState& state);

} // namespace velmora
