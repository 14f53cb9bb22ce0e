// The checks of locks, quick and by clang-tidy, on a made-up file in a tree of its own.
import assert from 'node:assert/strict';
import { cpSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import test from 'node:test';
import { fileURLToPath } from 'node:url';

import { locks } from './locks.mjs';
import { tidy } from './tidy.mjs';

const project = dirname(dirname(dirname(fileURLToPath(import.meta.url))));
const COPIED = ['.clang-tidy', 'framework/base/mutex.h', 'framework/base/thread_annotations.h'];
const SOURCE = 'framework/made/counter.cpp';

/** What a check says of a class with these members, beside a lock, a guarded number and a lock to take first. */
async function check(members, checkTree = locks) {
    const root = mkdtempSync(join(tmpdir(), 'quill-locks-'));
    try {
        for (const file of COPIED) cpSync(join(project, file), join(root, file), { recursive: true });
        mkdirSync(join(root, dirname(SOURCE)), { recursive: true });
        writeFileSync(join(root, SOURCE), `
#include "base/mutex.h"

namespace mrb {

class Counter {
  public:
    ${members}

  private:
    Mutex first_ MRB_ACQUIRED_BEFORE(lock_);
    Mutex lock_;
    ConditionVariable change_;
    int count_ MRB_GUARDED_BY(lock_) = 0;
};

} // namespace mrb
`);
        const command = `g++ -I${root}/framework -std=c++20 --param=ggc-min-heapsize=1048576 -Winvalid-pch -o counter.o -c ${root}/${SOURCE}`;
        mkdirSync(join(root, 'build', 'dev'), { recursive: true });
        writeFileSync(join(root, 'build', 'dev', 'compile_commands.json'),
            JSON.stringify([{ directory: root, command, file: join(root, SOURCE) }]));
        return await checkTree(root);
    } finally {
        rmSync(root, { recursive: true });
    }
}

test('a guarded member that is used with its lock passes', async () => {
    const members = `
    void count() MRB_EXCLUDES(lock_) {
        const MutexLock guard(lock_);
        ++count_;
        change_.notifyAll();
    }
    int await() {
        MutexLock guard(lock_);
        while (count_ == 0) {
            change_.wait(lock_);
        }
        {
            const MutexUnlock unlocked(lock_);
            count();
        }
        guard.unlock();
        count();
        guard.lock();
        return take();
    }
    int take() MRB_REQUIRES(lock_) { return count_--; }
    int both() {
        const MutexLock guard(first_);
        const MutexLock second(lock_);
        return take();
    }`;
    assert.equal(await check(members), '');
    assert.equal(await check(members, tidy), '');
});

test('a guarded member that is read without its lock fails, with file and line', async () => {
    const said = await check('int read() { return count_; }');
    assert.match(said, /counter\.cpp:8:\d+: error: reading variable 'count_' requires holding mutex 'lock_'/);
});

test('clang-tidy says the same', async () => {
    const said = await check('int read() { return count_; }', tidy);
    assert.match(said, /counter\.cpp:8:\d+: error: reading variable 'count_' requires holding mutex 'lock_'/);
});

const FAULTS = {
    'a guarded member that is used after the unlock': [
        'void count() { MutexLock guard(lock_); guard.unlock(); ++count_; }', /writing variable 'count_' requires holding/],
    'a guarded member that is used where the lock is released for a while': [
        'void count() { MutexLock guard(lock_); MutexUnlock unlocked(lock_); ++count_; }', /writing variable 'count_' requires/],
    'a guarded member that is used in a lambda': [
        'int read() { const MutexLock guard(lock_); return [this] { return count_; }(); }', /reading variable 'count_' requires/],
    'a function that needs the lock, and is called without it': [
        'int take() MRB_REQUIRES(lock_) { return count_; } int read() { return take(); }', /calling function 'take' requires holding/],
    'a function that takes the lock, and is called with it': [
        'void count() MRB_EXCLUDES(lock_) { const MutexLock guard(lock_); } void twice() { const MutexLock guard(lock_); count(); }',
        /cannot call function 'count' while mutex 'lock_' is held/],
    'a lock that is taken twice': [
        'void count() { const MutexLock guard(lock_); const MutexLock again(lock_); }', /acquiring mutex 'lock_' that is already held/],
    'a wait without the lock': ['void await() { change_.wait(lock_); }', /calling function 'wait' requires holding mutex 'lock_'/],
    'locks that are taken against their order': [
        'void both() { const MutexLock guard(lock_); const MutexLock second(first_); }', /mutex 'first_' must be acquired before 'lock_'/],
};
for (const [what, [members, message]] of Object.entries(FAULTS)) {
    test(`${what} fails`, async () => {
        assert.match(await check(members), message);
    });
}

test('a source file that is no part of the build fails', async () => {
    const said = await check('int read() { return 0; }', (root) => {
        writeFileSync(join(root, 'build', 'dev', 'compile_commands.json'), '[]');
        return locks(root);
    });
    assert.match(said, /^framework\/made\/counter\.cpp: no part of the build/);
});

test('a tree without locks fails', async () => {
    const said = await check('', (root) => {
        rmSync(join(root, 'framework', 'made'), { recursive: true });
        return locks(root);
    });
    assert.match(said, /no source file in framework\/ includes framework\/base\/mutex\.h/);
});
