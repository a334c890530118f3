#pragma once

#include "analysis/FilterState.h"

#include <QDialog>

class QLabel;

namespace velmora {

// "Email address conflict": is a sender found among both the junk and the
// trusted addresses to be trusted? Each button only sets its answer flag
// (TRUST: PromptAccepted, JUNK: PromptClosed); the opener waits for it and
// unloads the dialog. Closing it by its frame is no answer.
class Dialog final : public QDialog {
public:
    Dialog(FilterFlags& flags, const QString& address, QWidget* parent = nullptr);

protected:
    // Escape would close the dialog without an answer; it is ignored.
    void reject() override {}

private:
    FilterFlags& m_flags;
};

} // namespace velmora
