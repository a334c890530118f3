#include "hosts/memory/MemoryCommandBars.h"

namespace velmora::memory {

void MemoryControl::deleteControl() {
    if (!m_owner)
        return;
    for (qsizetype i = 0; i < m_owner->size(); ++i) {
        if ((*m_owner)[i].get() == this) {
            QList<ControlRef>* owner = m_owner;
            m_owner = nullptr;
            owner->removeAt(i); // may release this control: touch nothing after
            return;
        }
    }
}

ControlRef MemoryControl::add(ControlType type, bool temporary) {
    refused(u"add", 0);
    auto control = std::make_shared<MemoryControl>(type, temporary, &m_children, m_refusals);
    m_children.append(control);
    return control;
}

ControlRef MemoryCommandBar::add(ControlType type, bool temporary) {
    if (m_refusals->contains(QStringLiteral("add")))
        throw VbError(VbError::AutomationError, QStringLiteral("the host refused add"));
    auto control = std::make_shared<MemoryControl>(type, temporary, &m_controls, m_refusals);
    m_controls.append(control);
    return control;
}

void MemoryCommandBar::removeTemporaryControls() {
    m_controls.removeIf([](const ControlRef& control) {
        return static_cast<const MemoryControl&>(*control).isTemporary();
    });
}

std::shared_ptr<CommandBar> MemoryCommandBars::Item(const QString& name) const {
    return name == m_standard->name() ? m_standard : nullptr;
}

} // namespace velmora::memory
