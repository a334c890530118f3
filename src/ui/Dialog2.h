#pragma once

#include "analysis/FilterState.h"

#include <QDialog>

namespace velmora {

// "Velmora": offers to build the spam database when there is none. OK sets
// PromptAccepted, Cancel sets PromptClosed; nothing else happens here: the
// opener waits for a flag and unloads the dialog. Closing it by its frame is
// no answer.
class Dialog2 final : public QDialog {
public:
    explicit Dialog2(FilterFlags& flags, QWidget* parent = nullptr);

protected:
    // Escape would close the dialog without an answer; it is ignored.
    void reject() override {}

private:
    FilterFlags& m_flags;
};

} // namespace velmora
