#pragma once

#include "Interfaces/ChromaKeyTypes.h"

class CXmlNode;

/// The key set in a configuration document: attributes on a node, one child "key" per key, one child "adjust".

/// Writes a key set onto a node. What the node has besides stays; "key" and "adjust" children it has are replaced.
/// The count of keys is written as it is; elements are written for at most Z_MAX_KEYS.
void KeyXml_Save(const CHROMA_KEY_RAW& _key, const CK_ADJUST& _adjust, CXmlNode& _node);

/// Reads a key set from a node. *_pKey is replaced: what the node does not have reads as 0. *_pAdjust keeps every value
/// that the node does not have. A value that cannot be read counts as absent, and a warning names it.
///
/// The count is at most Z_MAX_KEYS, but may be negative, and the type may be any number; code that uses the set treats
/// a negative count, or an unknown type, as "no keys". The colour cancel switch reads as 0 or 1.
void KeyXml_Load(const CXmlNode& _node, CHROMA_KEY_RAW* _pKey, CK_ADJUST* _pAdjust);
