#include "hosts/imap/TestCertificates.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <memory>

namespace velmora::test {

namespace {

bool openssl(const QStringList& arguments, const QString& folder, QString* why) {
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(QStringLiteral("openssl"), arguments);
    if (!process.waitForFinished(30'000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        *why = QStringLiteral("openssl %1 failed: %2")
                   .arg(arguments.join(u' '), QString::fromUtf8(process.readAllStandardError()));
        return false;
    }
    return true;
}

const QStringList kEcKey = {
    QStringLiteral("-newkey"), QStringLiteral("ec"), QStringLiteral("-pkeyopt"),
    QStringLiteral("ec_paramgen_curve:prime256v1"), QStringLiteral("-nodes")};

bool makeCa(const QString& folder, const QString& name, const QString& commonName, QString* why) {
    return openssl(
        QStringList{QStringLiteral("req"), QStringLiteral("-x509")} + kEcKey +
            QStringList{
                QStringLiteral("-keyout"), name + QStringLiteral(".key"), QStringLiteral("-out"),
                name + QStringLiteral(".pem"), QStringLiteral("-days"), QStringLiteral("3"),
                QStringLiteral("-subj"), QStringLiteral("/CN=") + commonName,
                QStringLiteral("-addext"), QStringLiteral("basicConstraints=critical,CA:TRUE"),
                QStringLiteral("-addext"), QStringLiteral("keyUsage=critical,keyCertSign,cRLSign")},
        folder, why);
}

bool makeServer(const QString& folder, const QString& name, const QString& ca,
                const QString& hostName, const QString& altNames, QString* why) {
    QFile extensions(folder + u'/' + name + QStringLiteral(".ext"));
    if (!extensions.open(QIODevice::WriteOnly))
        return false;
    extensions.write("basicConstraints=CA:FALSE\nextendedKeyUsage=serverAuth\nsubjectAltName=" +
                     altNames.toUtf8() + '\n');
    extensions.close();
    return openssl(QStringList{QStringLiteral("req")} + kEcKey +
                       QStringList{QStringLiteral("-keyout"), name + QStringLiteral(".key"),
                                   QStringLiteral("-out"), name + QStringLiteral(".csr"),
                                   QStringLiteral("-subj"), QStringLiteral("/CN=") + hostName},
                   folder, why) &&
           openssl({QStringLiteral("x509"), QStringLiteral("-req"), QStringLiteral("-in"),
                    name + QStringLiteral(".csr"), QStringLiteral("-CA"),
                    ca + QStringLiteral(".pem"), QStringLiteral("-CAkey"),
                    ca + QStringLiteral(".key"), QStringLiteral("-CAcreateserial"),
                    QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-extfile"),
                    name + QStringLiteral(".ext"), QStringLiteral("-out"),
                    name + QStringLiteral(".pem")},
                   folder, why);
}

} // namespace

const TestCertificates* TestCertificates::get(QString* why) {
    static std::unique_ptr<QTemporaryDir> folder;
    static std::unique_ptr<TestCertificates> made;
    static QString failure;
    if (!made && failure.isEmpty()) {
        folder = std::make_unique<QTemporaryDir>();
        const QString path = folder->path();
        if (QStandardPaths::findExecutable(QStringLiteral("openssl")).isEmpty()) {
            failure = QStringLiteral("the openssl command is not installed");
        } else if (makeCa(path, QStringLiteral("ca"), QStringLiteral("Velmora Test CA"),
                          &failure) &&
                   makeCa(path, QStringLiteral("strangerca"), QStringLiteral("Stranger CA"),
                          &failure) &&
                   makeServer(path, QStringLiteral("localhost"), QStringLiteral("ca"),
                              QStringLiteral("localhost"),
                              QStringLiteral("DNS:localhost,IP:127.0.0.1"), &failure) &&
                   makeServer(path, QStringLiteral("other"), QStringLiteral("ca"),
                              QStringLiteral("other.example"), QStringLiteral("DNS:other.example"),
                              &failure) &&
                   makeServer(path, QStringLiteral("stranger"), QStringLiteral("strangerca"),
                              QStringLiteral("localhost"), QStringLiteral("DNS:localhost"),
                              &failure)) {
            made = std::make_unique<TestCertificates>();
            const auto pair = [&](const QString& name) {
                return Pair{path + u'/' + name + QStringLiteral(".pem"),
                            path + u'/' + name + QStringLiteral(".key")};
            };
            made->caFile = path + QStringLiteral("/ca.pem");
            made->localhost = pair(QStringLiteral("localhost"));
            made->otherHost = pair(QStringLiteral("other"));
            made->stranger = pair(QStringLiteral("stranger"));
            // Dovecot reads them as the mail user after dropping root.
            for (const QString& file :
                 {made->caFile, made->localhost.certificate, made->localhost.key,
                  made->otherHost.certificate, made->otherHost.key, made->stranger.certificate,
                  made->stranger.key})
                QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner |
                                                QFile::ReadGroup | QFile::ReadOther);
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                            QFile::ReadOther | QFile::ExeOther | QFile::ReadGroup |
                                            QFile::ExeGroup);
        }
    }
    if (why)
        *why = failure;
    return made.get();
}

} // namespace velmora::test
