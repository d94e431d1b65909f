#include "xml/XmlNode.h"
