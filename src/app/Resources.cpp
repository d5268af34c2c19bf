#include <QtGlobal>

// The icons live in a static library; their resources must be registered by hand.
void brovantInitIconResources()
{
    Q_INIT_RESOURCE(icons);
}
