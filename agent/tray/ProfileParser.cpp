#include "ProfileParser.h"

CProfileParser& CProfileParser::Instance()
{
    static CProfileParser parser;
    return parser;
}

bool LoadConfig()
{
    return true;
}
