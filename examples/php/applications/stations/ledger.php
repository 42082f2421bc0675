<?php

/* Two interfaces of a database: nested transactions through PDO, and SQLite3. */

declare(strict_types=1);

namespace Demo;

function keep_books(string $file): void
{
    $books = new \PDO("sqlite:$file");
    $books->exec('CREATE TABLE IF NOT EXISTS reading (station TEXT, hour INTEGER, mm REAL, UNIQUE (station, hour))');
    $books->exec('DELETE FROM reading');

    $books->beginTransaction();
    $insert = $books->prepare('INSERT INTO reading VALUES (:station, :hour, :mm)');
    foreach (['north', 'süd'] as $i => $station) {
        $insert->execute(['station' => $station, 'hour' => $i, 'mm' => 7.5]);
    }
    $books->exec('SAVEPOINT day');
    $books->exec("INSERT INTO reading VALUES ('north', 10, 1.5), ('north', 11, 2.5)");
    $books->exec('SAVEPOINT "hour"');
    $books->exec("UPDATE reading SET mm = mm + 1 WHERE station = 'north'");
    try {
        $books->exec("INSERT INTO reading VALUES ('north', 10, 3)");
    } catch (\PDOException $twice) {
        $books->exec('ROLLBACK TO SAVEPOINT "hour"');
    }
    $books->exec('RELEASE "hour"');
    $books->exec('RELEASE SAVEPOINT day');
    $books->commit();

    $books->exec('BEGIN IMMEDIATE');
    $books->exec("/* a mistake */ DELETE FROM reading WHERE mm > 0");
    $books->exec('ROLLBACK');
    $books->exec('SAVEPOINT alone');
    $books->exec("REPLACE INTO reading VALUES ('west', 1, 0)");
    $books->exec('RELEASE alone');
    foreach ($books->query('SELECT station, sum(mm) AS mm FROM reading GROUP BY station') as $row) {
        echo "$row[station]: $row[mm]\n";
    }
    $books->exec('BEGIN'); // never ended
    $books->exec("INSERT INTO reading VALUES ('east', 1, 0)");
}

function keep_scratch_notes(): void
{
    $notes = new \SQLite3(':memory:');
    $notes->exec('CREATE TABLE note (id INTEGER PRIMARY KEY, text TEXT); INSERT INTO note (text) VALUES (\'first\')');
    $insert = $notes->prepare('INSERT INTO note (text) VALUES (:text), (:other)');
    $insert->bindValue(':text', 'naïve 雨量計');
    $insert->bindValue(':other', "\xff\x00", SQLITE3_BLOB);
    $insert->execute();
    echo $notes->querySingle('SELECT count(*) FROM note'), " notes\n";
    $notes->query('SELECT no_such_column FROM note');
    $notes->prepare('SELEC');
    $notes->enableExceptions(true);
    try {
        $notes->exec('VACUUM INTO note');
    } catch (\Exception $refused) {
        echo $refused->getMessage(), "\n";
    }
    (new \SQLite3(':memory:'))->exec('WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 400000)
        SELECT max(i) FROM n');
}
