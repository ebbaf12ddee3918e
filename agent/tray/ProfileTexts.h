#pragma once

#include "QxCommon_JsonDb.h"

struct MenuNode;
class CProfileParser;

// Replaces the texts of the parsed data by those of the process's string table; a name that the table lacks
// gives an empty text.
void BindProfileTexts(CProfileParser& parsedData);

// The same for a node, its siblings and all below them. Depth costs no stack. The node may be null.
void BindMenuTexts(QxCommon::JsonDb& table, MenuNode* node);
