#!/usr/bin/perl
# A manager on the Perl module Net::SNMP, which is a stack of its own. Requests and answers are those described in
# with_pysnmp.py.
use strict;
use warnings;

use JSON::PP;
use Net::SNMP qw(:asn1);

my %typeNames = (
    INTEGER()        => 'INTEGER',
    OCTET_STRING()   => 'STRING',
    NOSUCHOBJECT()   => 'noSuchObject',
    NOSUCHINSTANCE() => 'noSuchInstance',
    ENDOFMIBVIEW()   => 'endOfMibView',
);
my %typeNumbers = (INTEGER => INTEGER, STRING => OCTET_STRING);
my @statusNames = qw(
    noError tooBig noSuchName badValue readOnly genErr noAccess wrongType wrongLength wrongEncoding wrongValue
    noCreation inconsistentValue resourceUnavailable commitFailed undoFailed authorizationError notWritable
    inconsistentName
);

sub identity {
    my ($who) = @_;
    return (-version => 'snmpv2c', -community => $who->{community}) if exists $who->{community};
    my @identity = (
        -version      => 'snmpv3',
        -username     => $who->{user},
        -authprotocol => 'sha',
        -authpassword => $who->{auth_passphrase},
    );
    push @identity, -privprotocol => 'aes', -privpassword => $who->{priv_passphrase} if exists $who->{priv_passphrase};
    return @identity;
}

sub varbinds {
    my ($session) = @_;
    my ($values, $types) = ($session->var_bind_list, $session->var_bind_types);
    return map {
        my $type = $typeNames{$types->{$_}} // "type $types->{$_}";
        [$_, $type, $type =~ /^(?:noSuch|endOf)/ ? '' : "$values->{$_}"]
    } $session->var_bind_names;
}

sub failure {
    my ($session) = @_;
    my $status = $session->error_status;
    return {status => $statusNames[$status], index => $session->error_index} if $status;
    return {failed => $session->error};
}

sub walk {
    my ($session, $root) = @_;
    my ($name, @walked) = ($root);
    while (defined $session->get_next_request(-varbindlist => [$name])) {
        my ($next) = varbinds($session);
        return {varbinds => \@walked} if index($next->[0], "$root.") != 0 || $next->[1] eq 'endOfMibView';
        push @walked, $next;
        $name = $next->[0];
    }
    return failure($session);
}

sub assignments {
    my ($request) = @_;
    return map {
        my ($type, $value) = @{$request->{values}[$_]};
        utf8::downgrade($value);    # one byte for each character
        ($request->{names}[$_], $typeNumbers{$type}, $value)
    } keys @{$request->{names}};
}

my %commands = (
    get     => sub { $_[0]->get_request(-varbindlist => $_[1]{names}) },
    getnext => sub { $_[0]->get_next_request(-varbindlist => $_[1]{names}) },
    set     => sub { $_[0]->set_request(-varbindlist => [assignments($_[1])]) },
    getbulk => sub {
        $_[0]->get_bulk_request(
            -nonrepeaters   => $_[1]{non_repeaters},
            -maxrepetitions => $_[1]{max_repetitions},
            -varbindlist    => $_[1]{names},
        );
    },
);

sub carryOut {
    my ($request) = @_;
    my ($session, $error) = Net::SNMP->session(
        -hostname   => '127.0.0.1',
        -port       => $request->{port},
        -timeout    => $request->{seconds},
        -retries    => 0,
        -maxmsgsize => 65535,    # what fits into a datagram; the default is what fits into an Ethernet frame
        -translate  => 0,
        identity($request->{as}),
    );
    return {failed => $error} unless defined $session;
    return walk($session, $request->{names}[0]) if $request->{do} eq 'walk';
    my $answer = $commands{$request->{do}}->($session, $request);
    return defined $answer ? {varbinds => [varbinds($session)]} : failure($session);
}

$| = 1;
my $json = JSON::PP->new->ascii;
while (my $line = <STDIN>) {
    print $json->encode(carryOut($json->decode($line))), "\n";
}
