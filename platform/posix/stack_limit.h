/// Room for walks that go as deep as a tree does.
#pragma once

/// Lets the main thread's stack grow to 120 MB, where it may: walking and deleting call themselves
/// once a level, and a tree can be hundreds of thousands of levels deep. The kernel leaves 128 MB
/// below a stack for that whatever the limit was when the program started (mmap_base in the
/// kernel's arch/x86/mm/mmap.c).
void LetStackGrow();
