// Sends many mails over one connection. Each line of the input is one mail, "PLUGIN MAIL JSON" with decimal
// numbers; each line of the output is its answer, "CALL RESULT JSON" with signed statuses. Stands beside
// svcLink.dll under a file name of the product.
#include <chrono>
#include <iostream>
#include <sstream>
#include <string>

#include "ControlClient.h"
#include "QxCommon_JsonText.h"
#include "QxCommon_utility.h"

int main()
{
    if (Status::Failed(LoadLink(QxCommon::GetModuleFolder())))
    {
        return 1;
    }
    constexpr std::chrono::minutes limit{2};
    ControlClient client;
    for (std::string line; std::getline(std::cin, line);)
    {
        std::istringstream fields(line);
        std::uint32_t pluginId = 0;
        std::uint32_t mailId = 0;
        std::string request;
        fields >> pluginId >> mailId >> std::ws;
        std::getline(fields, request);
        const MailAnswer answer = client.Mail(pluginId, mailId, QxCommon::JsonText::ToWide(request), limit);
        const std::wstring reply = QxCommon::TrimTrailingLineFeeds(answer.json);
        std::cout << answer.call << ' ' << answer.result << ' ' << QxCommon::JsonText::ToUtf8(reply)
                  << std::endl;
    }
    return 0;
}
