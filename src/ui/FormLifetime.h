#pragma once

#include <QPointer>
#include <QWidget>

#include <vector>

namespace velmora {

// Keeps a closed form alive while one of its own handlers is still running.
// The tool window's buttons start work that yields to the event loop, and the
// user may close the window meanwhile: destroying it then would pull the
// widget out from under the handler (and under Qt's own code that emitted the
// click). A closed form is retired instead, hidden at once, and destroyed
// when no handler of any form is running any more.
class FormLifetime {
public:
    FormLifetime() = default;
    // Forms still waiting to be destroyed go with their owner.
    ~FormLifetime() {
        for (const QPointer<QWidget>& form : m_dying)
            delete form.data();
    }
    FormLifetime(const FormLifetime&) = delete;
    FormLifetime& operator=(const FormLifetime&) = delete;

    // Marks a handler as running for as long as it lives.
    class Scope {
    public:
        explicit Scope(FormLifetime* lifetime) : m_lifetime(lifetime) {
            if (m_lifetime)
                ++m_lifetime->m_running;
        }
        ~Scope() {
            if (m_lifetime && --m_lifetime->m_running == 0)
                m_lifetime->destroyRetired();
        }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        FormLifetime* m_lifetime;
    };

    // Hides the form and destroys it as soon as no handler runs.
    void retire(QWidget* form) {
        if (!form)
            return;
        form->hide();
        m_retired.emplace_back(form);
        if (m_running == 0)
            destroyRetired();
    }

    bool handlerRunning() const { return m_running > 0; }

private:
    void destroyRetired() {
        // Deferred: the retiring call itself may come from inside the form's
        // own event handling.
        std::erase_if(m_dying, [](const QPointer<QWidget>& form) { return form.isNull(); });
        for (const QPointer<QWidget>& form : m_retired) {
            if (form) {
                form->deleteLater();
                m_dying.push_back(form);
            }
        }
        m_retired.clear();
    }

    int m_running = 0;
    std::vector<QPointer<QWidget>> m_retired;
    std::vector<QPointer<QWidget>> m_dying; // deletion posted, not yet done
};

} // namespace velmora
