#include "ui/Dialog2.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace velmora {

Dialog2::Dialog2(FilterFlags& flags, QWidget* parent) : QDialog(parent), m_flags(flags) {
    setObjectName(QStringLiteral("Dialog2"));
    setWindowTitle(QStringLiteral("Velmora"));
    setModal(false);
    // Closing by the frame would be no answer, so there is no close button.
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);

    auto* layout = new QVBoxLayout(this);
    const struct {
        const char* name;
        const char* text;
    } lines[] = {
        {"Label1", "Your emails antispam database has not been created."},
        {"Label2_0", "You should create database, it takes 1 - 10 minutes."},
        {"Label2_1", "Start it Now ?"},
    };
    for (const auto& line : lines) {
        auto* label = new QLabel(QLatin1String(line.text), this);
        label->setObjectName(QLatin1String(line.name));
        layout->addWidget(label);
    }
    auto* ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setObjectName(QStringLiteral("OKButton"));
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    cancel->setObjectName(QStringLiteral("CancelButton"));
    ok->setAutoDefault(false);
    cancel->setAutoDefault(false);
    connect(ok, &QPushButton::clicked, this, [this] { m_flags.PromptAccepted = kTrue; });
    connect(cancel, &QPushButton::clicked, this, [this] { m_flags.PromptClosed = kTrue; });
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    layout->addSpacing(8);
    layout->addLayout(buttons);
}

} // namespace velmora
