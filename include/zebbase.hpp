#ifndef ZEBBASE_HPP
#define ZEBBASE_HPP

/// @file
/// The whole library: texts and byte strings, messages with their descriptor, the headers and the
/// trigger that travel in them, and the options and channel definition beside them.

#include "ZebBin.hpp"
#include "ZebCac.hpp"
#include "ZebChl.hpp"
#include "ZebCodes.hpp"
#include "ZebDlh.hpp"
#include "ZebErr.hpp"
#include "ZebGmo.hpp"
#include "ZebGmo3.hpp"
#include "ZebHdr.hpp"
#include "ZebHih.hpp"
#include "ZebItm.hpp"
#include "ZebMsg.hpp"
#include "ZebMtr.hpp"
#include "ZebRfh.hpp"
#include "ZebSem.hpp"
#include "ZebStr.hpp"
#include "ZebTih.hpp"
#include "ZebTrc.hpp"
#include "ZebTrg.hpp"
#include "ZebWih.hpp"

#endif
