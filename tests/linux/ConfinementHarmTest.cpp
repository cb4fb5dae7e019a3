#include "linux/Confinement.h"
#include "tests/support/Bystanders.h"
#include "tests/support/ConfinedRun.h"
#include "tests/support/Eventually.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace torvo {
namespace {

using testing::Bystanders;
using ::testing::IsEmpty;

/// Each of these does harm when nothing confines it (another test makes sure of that).
const std::vector<std::string> kFileHarms = {
    // The shell's own writing
    "print hi > new",
    "print hi >| a.txt",
    "print hi >> a.txt",
    ": > a.txt",
    "print -n x 1<> a.txt",
    "exec 3> new",
    "exec {fd}>> new; print hi >&$fd",
    "exec 3< a.txt; print hi > /proc/self/fd/3",
    "exec 3< a.txt; print hi > /dev/fd/3",
    "setopt multios; print hi > new > new2",
    "typeset > new",
    "zcompile new a.txt",
    "umask 000; mkdir -m 777 new",
    // Words that look like arguments
    "cat =(touch new)",
    "cat <(rm a.txt)",
    "print hi > >(cat > new); wait",
    "ls *(e:'rm -f a.txt':)",
    "ls *(oe:'rm -f a.txt':)",
    "clean() { rm -f a.txt }; ls *(+clean)",
    "print ${x::=$(rm a.txt)}",
    "print ${(e):-'$(rm a.txt)'}",
    "print $(( ${$(rm a.txt):-1} ))",
    "[[ -n $(rm a.txt) ]]",
    "list[$(rm a.txt; print 1)]=2",
    "case $(rm a.txt) in *) ;; esac",
    "printf '%s' \"$(rm a.txt)\"",
    "printf '%s' `rm a.txt`",
    "cat <<END\n$(rm a.txt)\nEND",
    "trap 'rm a.txt' EXIT",
    "TRAPEXIT() { rm a.txt }",
    "coproc rm a.txt; wait",
    "(rm a.txt &); while [[ -e a.txt ]] && (( SECONDS < 2 )); do :; done",
    "print 'rm a.txt' | sh",
    "eval 'rm a.txt'",
    "exec rm a.txt",
    "env rm a.txt",
    "=rm a.txt",
    "alias -g X=a.txt; eval 'rm X'",
    // Modules of the shell
    "zmodload zsh/files; zf_rm a.txt",
    "zmodload zsh/files; zf_mv a.txt new",
    "zmodload zsh/files; zf_ln -s a.txt new",
    "zmodload zsh/files; zf_mkdir new",
    "zmodload zsh/files; zf_rmdir empty",
    "zmodload zsh/files; zf_chmod 777 a.txt",
    "zmodload zsh/system; sysopen -w -o creat,trunc -u fd new",
    "zmodload zsh/system; sysopen -w -u fd a.txt; syswrite -o $fd hi",
    "zmodload zsh/mapfile; mapfile[new]=hi",
    "zmodload zsh/mapfile; unset 'mapfile[a.txt]'",
    // Listing programs that write
    "find . -name a.txt -delete",
    "find . -fprint new",
    "find . -fprintf new x",
    "find . -fls new",
    "find . -name a.txt -exec rm {} +",
    "find . -name a.txt -execdir rm {} \\;",
    "sort -onew a.txt",
    "sort -oa.txt a.txt",
    "sort --output=new a.txt",
    "sort --compress-program=$PWD/a.txt -S1b a.txt; rm -f a.txt",
    "uniq a.txt new",
    "uniq a.txt b.txt",
    "awk '{ print > \"new\" }' a.txt",
    "awk '{ print >> \"b.txt\" }' a.txt",
    "awk '{ print | \"tee new\" }' a.txt",
    "awk 'BEGIN { \"rm a.txt\" | getline }'",
    "awk 'BEGIN { system(\"rm a.txt\") }'",
    "sed -i s/alpha/x/ a.txt",
    "sed -n 'w new' a.txt",
    "sed '1e rm a.txt' b.txt",
    "split a.txt new",
    "tee new < a.txt",
    "dd if=a.txt of=new status=none",
    "dd if=b.txt of=a.txt conv=notrunc status=none",
    "tar cf new a.txt",
    "gzip a.txt",
    // Files and folders
    "cp a.txt new",
    "cp b.txt a.txt",
    "mv a.txt new",
    "mv a.txt b.txt",
    "mv a.txt dir/",
    "rm a.txt",
    "rm -rf dir",
    "rmdir empty",
    "mkdir new",
    "ln a.txt new",
    "ln -s a.txt new",
    "mkfifo new",
    "mktemp -p . new.XXXXXX",
    "install a.txt new",
    "truncate -s 1 a.txt",
    "truncate -s 9999 a.txt",
    "fallocate -l 9999 a.txt",
    "fallocate -p -o 0 -l 4 a.txt",
    "shred a.txt",
    "perl -pi -e 's/alpha/x/' a.txt",
    "perl -e 'open F, q(+<), q(a.txt); print F q(x)'",
    "perl -MFcntl -e 'sysopen F, q(a.txt), O_RDONLY | O_TRUNC'",
    "perl -e 'truncate q(a.txt), 1'",
    "perl -e 'rename q(a.txt), q(new)'",
    "perl -e 'rename q(dir), q(empty)'",
    "perl -e 'unlink q(link)'",
    // Times, modes, owners, attributes
    "touch a.txt",
    "touch -d 2001-01-01 a.txt",
    "touch -h link",
    "touch -r b.txt a.txt",
    "perl -e 'utime 1, 1, q(a.txt)'",
    "chmod 777 a.txt",
    "chmod u-w dir",
    "perl -e 'open F, q(a.txt); chmod 0777, *F'",
    "chown $EUID a.txt",
    "chown -h $EUID link",
    "perl -e 'open F, q(a.txt); chown $>, -1, *F'",
    "chattr +d a.txt",
    // Elsewhere
    "print hi > /dev/shm/$MARK",
    "print hi > /tmp/$MARK",
    "print hi > /var/tmp/$MARK",
    "print hi > ~/$MARK",
    "mkdir /tmp/$MARK",
    "print hi > /proc/$OUTSIDE/root/tmp/$MARK",
    // Through the private folder
    "ln a.txt ${TMPDIR:-/tmp}/$MARK && print hi >> ${TMPDIR:-/tmp}/$MARK",
    "ln -s $PWD/a.txt ${TMPDIR:-/tmp}/$MARK && print hi >> ${TMPDIR:-/tmp}/$MARK",
    "cd ${TMPDIR:-/tmp}; mv $1 $MARK",
    "print hi > ${TMPDIR:-/tmp}/$MARK && mv ${TMPDIR:-/tmp}/$MARK $1",
    "print hi > ${TMPDIR:-/tmp}/$MARK && ln ${TMPDIR:-/tmp}/$MARK new",
    "print 'rm a.txt' > ${TMPDIR:-/tmp}/$MARK; sh ${TMPDIR:-/tmp}/$MARK",
};

const std::vector<std::string> kOtherHarms = {
    // Network and other programs' sockets
    "zmodload zsh/net/tcp; ztcp 127.0.0.1 $PORT",
    "zmodload zsh/net/socket; zsocket $SOCKET",
    "bash -c ': > /dev/tcp/127.0.0.1/$PORT'",
    "bash -c 'echo hi > /dev/udp/127.0.0.1/$DATAGRAM_PORT'",
    "perl -MSocket -e 'socket S, AF_UNIX, SOCK_STREAM, 0; connect S, pack q(Sxa*), AF_UNIX, $ENV{ABSTRACT}'",
    "perl -MSocket -e 'socket S, AF_UNIX, SOCK_DGRAM, 0; send S, q(hi), 0, pack_sockaddr_un $ENV{DATAGRAM}'",
    "perl -MSocket -e 'socketpair S, T, AF_UNIX, SOCK_DGRAM, 0; send S, q(hi), 0, pack_sockaddr_un $ENV{DATAGRAM}'",
    // A process outside
    "kill $OUTSIDE",
    "kill -9 $OUTSIDE",
    "kill -STOP $OUTSIDE",
    "kill -9 -- -$OUTSIDE",
    "/bin/kill -9 $OUTSIDE",
    "(kill -9 $OUTSIDE & wait)",
    "perl -e 'kill 9, $ENV{OUTSIDE}'",
    "pkill -9 -x $NAME",
    "renice -n 5 -p $OUTSIDE",
    "prlimit --pid $OUTSIDE --nofile=10:10",
    "taskset -p 1 $OUTSIDE",
    "ionice -c 3 -p $OUTSIDE",
    "chrt -b -p 0 $OUTSIDE",
    "print 500 > /proc/$OUTSIDE/oom_score_adj",
    // Staying behind; the substitution ends when the process has left the group and then closed its output
    ": $(setsid -f sh -c 'exec sleep $FOREVER > /dev/null 2>&1')",
    ": $(perl -MPOSIX -e 'fork and exit; setsid; close STDOUT; close STDERR; exec qw(sleep), $ENV{FOREVER}')",
    ": $(perl -e 'fork and exit; setpgrp 0, 0; close STDOUT; close STDERR; exec qw(sleep), $ENV{FOREVER}')",
};

/// Harmless with a launcher that ends the group, so there is nothing to see unconfined.
const std::vector<std::string> kLeftovers = {
    "sleep $FOREVER &",
    "sleep $FOREVER & disown",
    "(sleep $FOREVER &)",
    "sleep $FOREVER &!",
    "trap '' TERM HUP INT; sleep $FOREVER &",
    "coproc sleep $FOREVER",
    "setsid sleep $FOREVER &!",
    "nohup setsid sleep $FOREVER > /dev/null 2>&1 &",
    "setopt monitor; sleep $FOREVER &",
    "zsh -mc 'sleep $FOREVER &'",
    "zmodload zsh/zpty; zpty x sleep $FOREVER",
    "((sleep $FOREVER; :) & (sleep $FOREVER; :) &) &",
    "(while :; do (sleep $FOREVER &); sleep 0.01; done) &",
};

/// Root could do these to the machine; each is written so that even then nothing changes.
const std::vector<std::string> kRefusals = {
    "print -r -- $(</proc/sys/kernel/panic) > /proc/sys/kernel/panic",
    "print -r -- $(</proc/self/oom_score_adj) > /proc/self/oom_score_adj",
    "print -n > /dev/zero",
    "exec 3<> pipe",
    "exec 3<> /dev/ptmx",
    "mount --bind dir dir && umount dir",
    "unshare -m true",
    "unshare -U true",
    "unshare -p -f true",
    "nsenter -t $$ -m true",
    "chroot / true",
    "setsid -w true",
    "perl -MSocket -e 'socket(S, PF_INET, SOCK_STREAM, 0) && bind(S, sockaddr_in 0, INADDR_LOOPBACK) or exit 1'",
    "renice -n 1 -g 0",
    "perl -e 'exit !chmod 0700, $ENV{TMPDIR} // q(empty)'",
    "mkdir ${TMPDIR:-/tmp}/$MARK && rmdir ${TMPDIR:-/tmp}/$MARK",
    "ln -s x ${TMPDIR:-/tmp}/$MARK && rm ${TMPDIR:-/tmp}/$MARK",
    "mkfifo ${TMPDIR:-/tmp}/$MARK && rm ${TMPDIR:-/tmp}/$MARK",
};

/// Landlock as new as the kernel has it, and as the older versions that behave differently.
class ConfinementHarm : public ::testing::TestWithParam<int> {
  protected:
    void SetUp() override {
        if (!confinementWorks())
            GTEST_SKIP() << "this machine cannot confine";
    }

    void expectNoHarm(const std::vector<std::string>& commands) {
        Bystanders bystanders;
        for (const std::string& command : commands) {
            std::string temporaryFolder;
            {
                const auto confinement = PreparedConfinement::prepare(GetParam());
                ASSERT_TRUE(confinement) << confinement.error();
                temporaryFolder = confinement->temporaryFolder();
                const auto outcome =
                    testing::runShell({command, bystanders.selection(), bystanders.folder(), &*confinement});
                EXPECT_NE(outcome.status, 127) << command << "\n" << outcome.errors;
            }
            EXPECT_THAT(bystanders.harm(), IsEmpty()) << command;
            EXPECT_NE(::access(temporaryFolder.c_str(), F_OK), 0) << command;
        }
    }
};

TEST_P(ConfinementHarm, NoFileIsChangedAndNoneIsLeft) {
    expectNoHarm(kFileHarms);
}
TEST_P(ConfinementHarm, NoSocketAndNoOtherProcessIsReached) {
    expectNoHarm(kOtherHarms);
}
TEST_P(ConfinementHarm, NothingStaysBehind) {
    expectNoHarm(kLeftovers);
}

TEST_P(ConfinementHarm, TheMachineIsOutOfReach) {
    Bystanders bystanders;
    for (const std::string& command : kRefusals) {
        const auto confinement = PreparedConfinement::prepare(GetParam());
        ASSERT_TRUE(confinement) << confinement.error();
        EXPECT_NE(testing::runShell({command, {}, bystanders.folder(), &*confinement}).status, 0) << command;
        EXPECT_THAT(bystanders.harm(), IsEmpty()) << command;
    }
}

INSTANTIATE_TEST_SUITE_P(Landlock, ConfinementHarm, ::testing::Values(PreparedConfinement::kNoLimit, 3, 1));

TEST(ConfinementHarmControl, TheCommandsOfTheHarmTablesDoHarmWhenNothingConfinesThem) {
    for (const auto* table : {&kFileHarms, &kOtherHarms})
        for (const std::string& command : *table) {
            Bystanders bystanders;
            const auto outcome = testing::runShell({command, bystanders.selection(), bystanders.folder()});
            // What goes on in the background may have yet to begin.
            EXPECT_TRUE(testing::eventually([&] { return !bystanders.harm().empty(); })) << command << "\n"
                                                                                         << outcome.errors;
        }
}

TEST(ConfinementHarmControl, TheRefusedCommandsWorkForRoot) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root";
    Bystanders bystanders;
    for (const std::string& command : kRefusals) {
        const auto outcome = testing::runShell({command, {}, bystanders.folder()});
        EXPECT_EQ(outcome.status, 0) << command << "\n" << outcome.errors;
    }
}

} // namespace
} // namespace torvo
