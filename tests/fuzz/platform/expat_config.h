// The parser library's configuration, which its own build writes. What a hash table's secret is made of does
// not matter here.
#pragma once

#define BYTEORDER 1234
#define XML_CONTEXT_BYTES 1024
#define XML_NS 1
#define XML_POOR_ENTROPY 1
