// The count behind DataGeneration: whoever changes what a read of the
// switch model or of the daemons' neighbours could answer calls
// NoteDataChange, under whatever lock it holds.
#pragma once

namespace lldpv2host {

void NoteDataChange();

}  // namespace lldpv2host
