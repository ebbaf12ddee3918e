#include "Findings.h"

#include <algorithm>
#include <iterator>

namespace
{
constexpr Finding findings[] = {
    {1, L"{\"title\":\"A start entry without a program\",\"fixable\":true}", true},
    {2, L"{\"title\":\"A temporary folder of last year\",\"fixable\":true}", true},
    {3, L"{\"title\":\"A full disk\",\"fixable\":false}", false},
};
} // namespace

const Finding* FindFinding(std::uint32_t id)
{
    const auto* const found = std::find_if(std::begin(findings), std::end(findings),
                                           [id](const Finding& finding) { return finding.id == id; });
    return found == std::end(findings) ? nullptr : found;
}

std::set<std::uint32_t> FixableFindings()
{
    std::set<std::uint32_t> ids;
    for (const Finding& finding : findings)
    {
        if (finding.isFixable)
        {
            ids.insert(finding.id);
        }
    }
    return ids;
}
