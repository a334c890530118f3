#pragma once

#include "addin/host/HostCommandBars.h"
#include "base/VbError.h"

#include <QStringList>

#include <memory>

namespace velmora::memory {

// What the host refuses to do with its command bars, for tests of a host that
// refuses things: "add", "caption", "enabled", "style", "face". Shared by a bar
// and every control on it.
using Refusals = std::shared_ptr<QStringList>;

class MemoryControl final : public CommandBarControl,
                            public std::enable_shared_from_this<MemoryControl> {
public:
    MemoryControl(ControlType type, bool temporary, QList<ControlRef>* owner, Refusals refusals)
        : m_type(type), m_temporary(temporary), m_owner(owner), m_refusals(std::move(refusals)) {}

    ControlType type() const override { return m_type; }
    QString caption() const override { return m_caption; }
    void setCaption(const QString& caption) override { m_caption = refused(u"caption", caption); }
    void setEnabled(bool enabled) override { m_enabled = refused(u"enabled", enabled); }
    void setStyle(int style) override { m_style = refused(u"style", style); }
    void setFaceId(int faceId) override { m_faceId = refused(u"face", faceId); }
    void deleteControl() override;
    QList<ControlRef> Controls() const override { return m_children; }
    ControlRef add(ControlType type, bool temporary) override;

    bool isEnabled() const { return m_enabled; }
    bool isTemporary() const { return m_temporary; }
    int style() const { return m_style; }
    int faceId() const { return m_faceId; }
    // What the user's click does.
    void click() { Click.raise(); }

private:
    // `value`, unless the host refuses this write (VbError).
    template <typename T>
    T refused(QStringView write, T value) const;

    ControlType m_type;
    bool m_temporary;
    QList<ControlRef>* m_owner;
    Refusals m_refusals;
    QString m_caption;
    bool m_enabled = false;
    int m_style = 0;
    int m_faceId = 0;
    QList<ControlRef> m_children;
};

template <typename T>
T MemoryControl::refused(QStringView write, T value) const {
    if (m_refusals->contains(write))
        throw VbError(VbError::AutomationError,
                      QStringLiteral("the host refused ") + write.toString());
    return value;
}

class MemoryCommandBar final : public CommandBar {
public:
    explicit MemoryCommandBar(QString name) : m_name(std::move(name)) {}
    QString name() const override { return m_name; }
    QList<ControlRef> Controls() const override { return m_controls; }
    ControlRef add(ControlType type, bool temporary) override;
    // What the host does when it closes.
    void removeTemporaryControls();
    // From now on the host refuses that write on this bar and its controls.
    void refuse(const QString& write) { m_refusals->append(write); }

private:
    QString m_name;
    QList<ControlRef> m_controls;
    Refusals m_refusals = std::make_shared<QStringList>();
};

// The bars of an explorer: only "Standard".
class MemoryCommandBars final : public CommandBars {
public:
    std::shared_ptr<CommandBar> Item(const QString& name) const override;
    MemoryCommandBar& standard() { return *m_standard; }

private:
    std::shared_ptr<MemoryCommandBar> m_standard =
        std::make_shared<MemoryCommandBar>(QStringLiteral("Standard"));
};

} // namespace velmora::memory
