#include "analysis/PictureAttachment.h"

#include "base/VbString.h"
#include "store/FileHelpers.h"

namespace velmora {
namespace {

bool isPictureExtension(const QString& extension) {
    static const QStringList kPictures = {
        QStringLiteral("jpeg"), QStringLiteral("gif"), QStringLiteral("jpg"),
        QStringLiteral("png"),  QStringLiteral("bmp"), QStringLiteral("tiff"),
        QStringLiteral("tif"),
    };
    return kPictures.contains(extension);
}

} // namespace

bool CheckPictureAttachment(FilterState& state, MailItemView& item) {
    QString extension;
    if (item.attachmentCount() != 0) {
        state.picture.attachment = item.attachment(1);
        const QStringList pieces = vbSplit(state.picture.attachment->fileName(), u".");
        extension = pieces.isEmpty() ? QString() : vbLCase(pieces.last());
    }
    if (!isPictureExtension(extension)) {
        state.picture.PictureAttachmentSaved = kFalse;
        return false;
    }
    const QString path = savedPicturePath(state);
    if (!FileExists(path))
        state.picture.attachment->saveAsFile(path);
    state.picture.PictureAttachmentSaved = kTrue;
    return true;
}

QString savedPicturePath(const FilterState& state) {
    return state.data.folder.attachmentFile(state.picture.attachment->displayName());
}

} // namespace velmora
