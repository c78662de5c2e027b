/*
 * How a PID file is claimed, looked at, signalled by and given up, one step for each call of the system. The
 * steps are named like the operations in fdn/pidfile: PIDFileClaim.cpp, PIDFileLook.cpp and PIDFileVerdict.cpp.
 * tests/model/check runs spin.
 *
 * CLAIMERS processes claim the file. With ASKER, another one asks who holds it and signals that process. Each
 * claimer may be killed at each step, and its number may be used again, by a stranger or by another claim. A
 * holder may fork, become another program (exec) or lose its lock. /proc may tell processes apart or not.
 *
 * What is shown, besides that nobody waits for ever:
 *
 *   - never two holders;
 *   - a look never finds a file free while one process holds it all along;
 *   - nobody is signalled who has not held the file;
 *   - a process that is gone holds nothing;
 *   - somebody gets a free file, unless all who want it are killed or cannot tell who lives.
 *
 * These macros put faults in, which the checks must notice: NO_LOCK, NO_CONFIRM, UNLOCKED_DELETION, NO_IDENTITY,
 * NO_SECOND_LOOK, SHARED_LOCK, UNREADABLE_IS_GONE, DELETION_WITHOUT_LOCK.
 */

#ifndef CLAIMERS
#define CLAIMERS 3
#endif
#define FILES 6

/* A file, by whatever name. No file has the number 0, nor has a process. */
typedef File {
    byte locker;  /* the process that keeps a write lock */
    byte process; /* the record: a number, and which of its lives */
    byte life;
    byte users;   /* open descriptors: the system uses no file again before */
}

File file[FILES + 1];
byte unfinished; /* the file named ".pid-file.new" */
byte place;      /* the file that has the PID file's name */

bool alive[CLAIMERS + 1];
byte life[CLAIMERS + 1];
bool hasForked[CLAIMERS + 1];
bool readable; /* whether /proc tells which life it is */

/* How many of these may happen at most. */
#ifndef KILLS
#define KILLS 1
#endif
#ifndef REBIRTHS
#define REBIRTHS 0
#endif
#ifndef LOSSES
#define LOSSES 0
#endif
#ifndef EXECS
#define EXECS 0
#endif
#ifndef FORKS
#define FORKS 0
#endif
byte kills = KILLS;
byte rebirths = REBIRTHS;
byte losses = LOSSES;
byte execs = EXECS;
byte forks = FORKS;

/* What the properties speak of. */
byte holder;
byte tenure;
bool hasHeld[CLAIMERS + 1]; /* in this life */
bool isSettled;             /* somebody has had the file, or need not have it */
byte ended;

mtype = { FREE, HELD, UNCLEAR };

inline openNew(f) {
    d_step {
        f = 1;
        do
        :: f == unfinished || f == place || file[f].users > 0 -> f++
        :: else -> break
        od;
        assert(f <= FILES);
        file[f].locker = 0;
        file[f].process = 0;
        file[f].life = 0;
        file[f].users = 1
    }
}

/* A process gives its lock up by closing any descriptor of the file. */
inline closeFile(f) {
    d_step {
        if
        :: f != 0 && file[f].locker == self -> file[f].locker = 0
        :: else
        fi;
        if
        :: f != 0 -> file[f].users--
        :: else
        fi;
        f = 0
    }
}

#ifdef NO_LOCK
#define TRY_LOCK(f) skip
#define IS_FREE(f) true
#else
#define TRY_LOCK(f) file[f].locker = self
#define IS_FREE(f) (file[f].locker == 0)
#endif

#define MAY_BE_KILLED                                                                                        \
    if                                                                                                       \
    :: self > 0 && kills > 0 -> kills--; goto isKilled                                                               \
    :: skip                                                                                                  \
    fi

/* lookAtPIDFile() and judgePIDFile(). */
inline look(isClaim) {
    atomic {
        MAY_BE_KILLED;
        formerHolder = holder;
        formerTenure = tenure;
        seen = place;
        if
        :: seen != 0 -> file[seen].users++
        :: else
        fi;
        answer = FREE;
        who = 0
    }
    if
    :: seen == 0
    :: else ->
        atomic { /* askForWriteLock */
            who = file[seen].locker;
            assert(who == 0 || alive[who])
        }
        if
        :: who != 0 && who != self ->
            if /* tellsOf */
#ifdef NO_IDENTITY
            :: true -> answer = HELD
#else
            :: file[seen].process == who && file[seen].life == life[who] -> answer = HELD
            :: else -> answer = UNCLEAR
#endif
            fi
        :: isClaim && who == 0 && file[seen].process == self /* it has become another program */
        :: else ->
            who = file[seen].process;
            if
            :: who == 0 || !alive[who] /* isProcessAlive */
#ifdef UNREADABLE_IS_GONE
            :: who != 0 && alive[who] && !readable
#else
            :: who != 0 && alive[who] && !readable -> answer = UNCLEAR
#endif
            :: who != 0 && alive[who] && readable -> /* hasIdentity */
                if
#ifdef NO_IDENTITY
                :: true -> answer = HELD
#else
                :: file[seen].life == life[who] && alive[who] -> answer = HELD
                :: else
#endif
                fi
            fi
        fi
    fi;
    atomic {
        assert(answer != FREE || formerHolder == 0 || formerHolder == self || holder != formerHolder ||
               tenure != formerTenure);
        isSettled = isSettled || !readable;
        closeFile(seen);
        formerHolder = 0;
        formerTenure = 0
    }
}

#define REFUSE_WHEN_HELD(label)                                                                              \
    look(true);                                                                                              \
    atomic {                                                                                                 \
        who = 0;                                                                                             \
        if                                                                                                   \
        :: answer == FREE                                                                                    \
        :: else -> answer = FREE; goto label                                                                 \
        fi                                                                                                   \
    }

proctype Claimer(byte self) {
    byte mine, seen, who, formerHolder;
    byte formerTenure;
    mtype answer = FREE;

createUnfinished:
    atomic {
        MAY_BE_KILLED;
        if
        :: unfinished == 0 -> openNew(mine); unfinished = mine
        :: else -> goto clearUnfinished
        fi
    }
    atomic { /* tryLock */
        MAY_BE_KILLED;
        if
        :: IS_FREE(mine) -> TRY_LOCK(mine)
        :: else -> closeFile(mine); goto createUnfinished
        fi
    }
#ifndef NO_CONFIRM
    atomic { /* isNamed */
        MAY_BE_KILLED;
        if
        :: unfinished == mine
        :: else -> closeFile(mine); goto createUnfinished
        fi
    }
#endif

    REFUSE_WHEN_HELD(removeUnfinished);
    atomic { /* writeRecord */
        MAY_BE_KILLED;
        file[mine].process = self;
        file[mine].life = life[self]
    }
    atomic { /* takePlace */
        MAY_BE_KILLED;
        place = unfinished;
        unfinished = 0;
        if
        :: place == mine ->
            assert(holder == 0);
            holder = self;
            tenure++;
            hasHeld[self] = true;
            isSettled = true
        :: else -> closeFile(mine); goto isAtItsEnd
        fi
    }

hold:
    do
    :: losses > 0 -> atomic { losses--; file[mine].locker = 0 }
    :: forks > 0 -> atomic { forks--; hasForked[self] = true }
    :: execs > 0 ->
        atomic { execs--; holder = 0; closeFile(mine); goto createUnfinished }
    :: kills > 0 -> kills--; goto isKilled
    :: break
    od;

    atomic { /* giveUp */
        holder = 0;
#ifdef DELETION_WITHOUT_LOCK
        file[mine].locker = 0;
        file[mine].process = 0;
#endif
    }
    atomic { /* isStillOwn */
        MAY_BE_KILLED;
        if
        :: place == mine
        :: else -> closeFile(mine); goto isAtItsEnd
        fi
    }
    atomic {
        MAY_BE_KILLED;
        place = 0
    }
    atomic {
        MAY_BE_KILLED;
        closeFile(mine);
        goto isAtItsEnd
    }

clearUnfinished:
    REFUSE_WHEN_HELD(isAtItsEnd);
    atomic { /* openOwn */
        seen = unfinished;
        if
        :: seen == 0 -> goto createUnfinished
        :: else -> file[seen].users++
        fi
    }
    atomic { /* tryLock */
        MAY_BE_KILLED;
        if
        :: IS_FREE(seen) -> TRY_LOCK(seen)
        :: else -> closeFile(seen); goto awaitTurn
        fi
    }
    atomic {
        MAY_BE_KILLED;
        if
        :: unfinished == seen
        :: else -> closeFile(seen); goto createUnfinished
        fi;
#ifdef UNLOCKED_DELETION
        file[seen].locker = 0
#endif
    }
    atomic {
        MAY_BE_KILLED;
        unfinished = 0
    }
    atomic {
        MAY_BE_KILLED;
        closeFile(seen);
        goto createUnfinished
    }

awaitTurn:
    (unfinished == 0 || IS_FREE(unfinished) || place != 0);
    goto createUnfinished;

removeUnfinished:
    atomic {
        MAY_BE_KILLED;
        if
        :: unfinished == mine -> unfinished = 0
        :: else
        fi
    }
    atomic {
        MAY_BE_KILLED;
        closeFile(mine);
        goto isAtItsEnd
    }

isKilled:
    atomic {
        alive[self] = false;
        hasHeld[self] = false;
        if
        :: holder == self -> holder = 0
        :: else
        fi;
#ifdef SHARED_LOCK
        if
        :: hasForked[self] -> file[mine].users--; mine = 0
        :: else
        fi;
#endif
        closeFile(mine);
        closeFile(seen);
        who = 0;
        answer = FREE;
        formerHolder = 0;
        formerTenure = 0;
        isSettled = true;
        if
        :: rebirths > 0 ->
            rebirths--;
            life[self]++;
            alive[self] = true;
            if
            :: goto createUnfinished
            :: skip /* a stranger's life */
            fi
        :: skip
        fi
    }

isAtItsEnd:
    ended++
}

#ifdef ASKER
/* CDaemonController::stop() */
proctype Asker() {
    byte self, seen, who, formerHolder, process, handle;
    byte formerTenure;
    mtype answer;

    look(false);
    if
    :: answer == HELD ->
        process = who;
        atomic { /* the handle stays with the process */
            if
            :: alive[process] -> handle = life[process]
            :: else -> goto isDone
            fi
        };
#ifndef NO_SECOND_LOOK
        look(false);
        if
        :: answer == HELD && who == process
        :: else -> goto isDone
        fi;
#endif
        atomic {
            if
            :: alive[process] && life[process] == handle -> assert(hasHeld[process])
            :: else
            fi
        }
    :: else
    fi;
isDone:
isKilled:
    skip
}
#endif

init {
    byte i;
    atomic {
        if
        :: readable = true
        :: readable = false
        fi;
        for (i : 1 .. CLAIMERS) {
            alive[i] = true
        }
        /* What is left of processes that are gone. */
        if
        :: skip
        :: place = 1; file[1].process = 1; file[1].life = 255
        fi;
        if
        :: skip
        :: unfinished = 2
        fi;
        for (i : 1 .. CLAIMERS) {
            run Claimer(i)
        }
#ifdef ASKER
        run Asker()
#endif
    }
    (ended == CLAIMERS);
    assert(isSettled)
}
