// The hand-written HTML rendering against the regular expressions it replaces.
#include "analysis/ReferenceRoutines.h"
#include "hosts/mime/MimeMessage.h"

#include "support/TestSupport.h"

#include <random>

using namespace velmora;

TEST(HtmlTextDifferential, AgreesWithTheRegularExpressionsOnRandomMarkup) {
    const QStringList pieces = {
        QStringLiteral("<script>"),
        QStringLiteral("<script type=x>"),
        QStringLiteral("</script>"),
        QStringLiteral("</SCRIPT \n>"),
        QStringLiteral("<\u017fcript>"),
        QStringLiteral("</\u017fcRipt>"),
        QStringLiteral("<scripts>"),
        QStringLiteral("<style>"),
        QStringLiteral("</style >"),
        QStringLiteral("<Head>"),
        QStringLiteral("</head>"),
        QStringLiteral("</head\v>"),
        QStringLiteral("<br>"),
        QStringLiteral("<BR/>"),
        QStringLiteral("<brx>"),
        QStringLiteral("<br_>"),
        QStringLiteral("<br\u00e9>"),
        QStringLiteral("</p>"),
        QStringLiteral("</P class=a>"),
        QStringLiteral("</pre>"),
        QStringLiteral("</div>"),
        QStringLiteral("</tr>"),
        QStringLiteral("</li>"),
        QStringLiteral("</h1>"),
        QStringLiteral("</H6 >"),
        QStringLiteral("</h7>"),
        QStringLiteral("</h12>"),
        QStringLiteral("<b>"),
        QStringLiteral("<"),
        QStringLiteral(">"),
        QStringLiteral("</"),
        QStringLiteral("<s"),
        QStringLiteral("cript"),
        QStringLiteral("&nbsp;"),
        QStringLiteral("&NBSP;"),
        QStringLiteral("&amp;lt;"),
        QStringLiteral("&lt;"),
        QStringLiteral("&gt;"),
        QStringLiteral("&quot;"),
        QStringLiteral("&#39;"),
        QStringLiteral("&AmP;"),
        QStringLiteral(" "),
        QStringLiteral("\t"),
        QStringLiteral("\r\n"),
        QStringLiteral("\n"),
        QStringLiteral("\r"),
        QStringLiteral("\f"),
        QStringLiteral("\u00a0"),
        QStringLiteral("\u0130\u0131"),
        QStringLiteral("text"),
        QStringLiteral("Hello"),
        QStringLiteral("\U0001F600"),
        QStringLiteral("_0"),
        QStringLiteral("\u2028"),
    };
    std::mt19937 random(20261123);
    std::uniform_int_distribution<int> count(0, 30);
    std::uniform_int_distribution<qsizetype> pick(0, pieces.size() - 1);
    for (int round = 0; round < 30000; ++round) {
        QString html;
        for (int n = count(random); n > 0; --n)
            html += pieces[pick(random)];
        ASSERT_EQ(mime::htmlToText(html), reference::htmlToText(html))
            << "html: " << html.toStdString();
    }
}
