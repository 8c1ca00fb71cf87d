#pragma once

/// All that a host includes: the document file, its records, its modifications, and the platform
/// types that appear in their signatures.

#include "zamxml/binary.h"
#include "zamxml/changes.h"
#include "zamxml/document.h"
#include "zamxml/platform/array.h"
#include "zamxml/platform/error.h"
#include "zamxml/platform/file.h"
#include "zamxml/platform/lock.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/module.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/util.h"
#include "zamxml/platform/xml.h"
#include "zamxml/records.h"
