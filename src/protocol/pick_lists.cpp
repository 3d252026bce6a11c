#include "protocol/ports.h"

namespace kelvara {

PickLists PickLists::for_model(InstrumentModel model) {
    PickLists lists;
    const ModelProfile* p = find_profile(model);
    if (!p) {
        lists.write.visible = lists.remove.visible = false;
        return lists;
    }
    for (int n : p->read_locations) lists.read.entries.push_back(std::to_string(n));
    for (int n : p->write_locations) {
        lists.write.entries.push_back(std::to_string(n));
        lists.remove.entries.push_back(std::to_string(n));
    }
    for (ListField* l : {&lists.read, &lists.write, &lists.remove}) {
        l->selected = l->entries.empty() ? -1 : 0;
        if (model == InstrumentModel::HOX) l->visible = false;
    }
    return lists;
}

}  // namespace kelvara
