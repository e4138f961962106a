// A host on a framework whose global classes have the names of our companions: one using-directive is all it takes.
#include <vkcomm/vkcomm.h>

class CObject {
public:
    virtual ~CObject() = default;
    int frameworkOnly = 1;
};

class CArchive {
public:
    int frameworkOnly = 2;
};

struct CRuntimeClass {
    int frameworkOnly = 4;
};

using namespace vkcomm;

class CHostDocument : public CObject {
public:
    void Serialize(CArchive& archive) {
        sum = frameworkOnly + archive.frameworkOnly + CRuntimeClass().frameworkOnly;
    }

    int sum = 0;
    CBaseConfig base;
    CNOut decoder;
};

int frameworkSum() {
    CArchive archive;
    CHostDocument document;
    document.Serialize(archive);
    return document.sum;
}
