#include "ui/Dialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace velmora {

Dialog::Dialog(FilterFlags& flags, const QString& address, QWidget* parent)
    : QDialog(parent), m_flags(flags) {
    setObjectName(QStringLiteral("Dialog"));
    setWindowTitle(QStringLiteral("Email address conflict"));
    setModal(false);
    // Closing by the frame would be no answer, so there is no close button.
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);

    auto* question = new QLabel(
        QStringLiteral("This email address has been found among JUNK emails and TRUST emails. "
                       "Please clarify:"),
        this);
    question->setObjectName(QStringLiteral("Label1"));
    question->setWordWrap(true);
    auto* addressLabel = new QLabel(address, this);
    addressLabel->setObjectName(QStringLiteral("Label2"));
    addressLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    QFont bold = addressLabel->font();
    bold.setBold(true);
    addressLabel->setFont(bold);

    auto* trust = new QPushButton(QStringLiteral("Is it TRUST address ?"), this);
    trust->setObjectName(QStringLiteral("ButTRUST"));
    auto* junk = new QPushButton(QStringLiteral("Is it JUNK ?"), this);
    junk->setObjectName(QStringLiteral("ButJUNK"));
    trust->setAutoDefault(false);
    junk->setAutoDefault(false);
    connect(trust, &QPushButton::clicked, this, [this] { m_flags.PromptAccepted = kTrue; });
    connect(junk, &QPushButton::clicked, this, [this] { m_flags.PromptClosed = kTrue; });

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(trust);
    buttons->addWidget(junk);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(question);
    layout->addWidget(addressLabel);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    setMinimumWidth(420);
}

} // namespace velmora
